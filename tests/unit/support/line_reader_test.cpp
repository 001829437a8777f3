#include "support/line_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/temp_folder.h"
#include "support/unique_fd.h"

namespace {

struct Seen {
    std::string text;
    uint64_t number;
    uint64_t end;
    bool fits;
    bool is_broken;
    bool ended;
};

class LineReaderTest : public FaultsTest {
  protected:
    /* All lines of a file with this content. */
    std::vector<Seen> lines_of(const std::string &content) {
        const UniqueFd fd(::open(folder_.file("lines", content).c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_TRUE(fd);
        LineReader reader(fd.get());
        std::vector<Seen> seen;
        Line line = {};
        while (reader.next(line)) {
            seen.push_back(
                {std::string(line.text), line.number, line.end, line.fits, line.is_broken, line.ended});
        }
        error_ = reader.error();
        return seen;
    }

    TempFolder folder_;
    int error_ = -1;
};

TEST_F(LineReaderTest, AnEmptyFileHasNoLine) {
    EXPECT_TRUE(lines_of("").empty());
    EXPECT_EQ(0, error_);
}

TEST_F(LineReaderTest, NumbersLinesAndTellsWhereTheyEnd) {
    const std::vector<Seen> seen = lines_of("ab\n\nc");
    ASSERT_EQ(3u, seen.size());
    EXPECT_EQ("ab", seen[0].text);
    EXPECT_EQ(1u, seen[0].number);
    EXPECT_EQ(3u, seen[0].end);
    EXPECT_TRUE(seen[0].ended);
    EXPECT_EQ("", seen[1].text);
    EXPECT_EQ(4u, seen[1].end);
    EXPECT_EQ("c", seen[2].text);
    EXPECT_EQ(3u, seen[2].number);
    EXPECT_EQ(5u, seen[2].end);
    EXPECT_FALSE(seen[2].ended);
}

TEST_F(LineReaderTest, HandsOutTheLongestLineWhole) {
    const std::string longest(kLineMax, 'x');
    const std::vector<Seen> seen = lines_of(longest + "\n" + longest + "y\nz\n");
    ASSERT_EQ(3u, seen.size());
    EXPECT_EQ(longest, seen[0].text);
    EXPECT_TRUE(seen[0].fits);
    EXPECT_EQ(longest, seen[1].text);
    EXPECT_FALSE(seen[1].fits);
    EXPECT_EQ("z", seen[2].text);
    EXPECT_TRUE(seen[2].fits);
}

/* A CR as the last character may belong to the line's end. */
TEST_F(LineReaderTest, NotesACrOrNulBehindWhatItKeeps) {
    const std::string longest(kLineMax, 'x');
    const std::string cr_at_its_end = longest.substr(1) + "\r";
    const std::string nul("\0", 1);
    for (const std::string &whole :
         {longest, cr_at_its_end, longest + "\r", longest + std::string(20000, 'y') + "\r", "\r" + longest}) {
        EXPECT_FALSE(lines_of(whole + "\n").at(0).is_broken) << whole.substr(kLineMax - 1, 9);
        EXPECT_FALSE(lines_of(whole).at(0).is_broken) << whole.substr(kLineMax - 1, 9);
    }
    for (const std::string &broken :
         {cr_at_its_end + "y", longest + "\ry", longest + "\r\r", longest + nul, longest + nul + "y",
          longest + std::string(20000, 'y') + "\ry", longest + std::string(20000, 'y') + nul}) {
        const std::vector<Seen> seen = lines_of(broken + "\na\n");
        EXPECT_TRUE(seen.at(0).is_broken) << broken.substr(kLineMax - 1, 9);
        EXPECT_FALSE(seen.at(1).is_broken);
    }
}

TEST_F(LineReaderTest, NotesACrThatTwoReadsSeparate) {
    doubles::libc::read.stand_in(
        [](int fd, void *data, size_t) { return doubles::libc::read.real(fd, data, 1); });
    const std::string longest(kLineMax, 'x');
    EXPECT_TRUE(lines_of(longest + "\ry\n").at(0).is_broken);
    EXPECT_TRUE(lines_of(longest.substr(1) + "\ry\n").at(0).is_broken);
    EXPECT_FALSE(lines_of(longest + "y\r\n").at(0).is_broken);
}

TEST_F(LineReaderTest, KeepsLinesWholeWhateverReadGives) {
    doubles::libc::read.stand_in(
        [](int fd, void *data, size_t) { return doubles::libc::read.real(fd, data, 1); });
    const std::vector<Seen> seen = lines_of("key=value\nb\n");
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ("key=value", seen[0].text);
    EXPECT_EQ("b", seen[1].text);
}

TEST_F(LineReaderTest, ReadsOnAfterASignal) {
    bool interrupted = false;
    doubles::libc::read.stand_in([&interrupted](int fd, void *data, size_t size) -> ssize_t {
        if (!interrupted) {
            interrupted = true;
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, data, size);
    });
    EXPECT_EQ(1u, lines_of("a\n").size());
    EXPECT_EQ(0, error_);
}

TEST_F(LineReaderTest, AnOldEintrDoesNotOutliveTheEnd) {
    doubles::libc::read.stand_in([](int, void *, size_t) -> ssize_t {
        errno = EINTR;
        return 0;
    });
    EXPECT_TRUE(lines_of("a\n").empty());
    EXPECT_EQ(0, error_);
}

TEST_F(LineReaderTest, AFailedReadEndsTheLinesAndIsTold) {
    unsigned reads = 0;
    doubles::libc::read.stand_in([&reads](int fd, void *data, size_t) -> ssize_t {
        if (++reads > 1) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::read.real(fd, data, 4);
    });
    EXPECT_EQ(1u, lines_of("a\nbcdef\n").size());
    EXPECT_EQ(EIO, error_);
}

}  // namespace
