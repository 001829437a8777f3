#include "xml.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "os_thread.h"
#include "support/temp_folder.h"
#include "unit/base/repeated_text.h"

namespace {

struct FreeDoc {
    void operator()(xml_doc *doc) const { xml_free_doc(doc); }
};
using Doc = std::unique_ptr<xml_doc, FreeDoc>;

class Xml : public FaultsTest {
  protected:
    Doc parse(const std::string &text) const { return Doc(xml_file_parse(folder_.file("x", text).c_str())); }

    /* The own text of the root element. */
    std::string root_value(const std::string &text) const {
        const Doc doc = parse(text);
        EXPECT_NE(nullptr, doc);
        return xml_get_node_value(xml_get_doc_root(doc.get()));
    }

    bool is_refused(const std::string &text) const { return parse(text) == nullptr; }
    bool has_no_root(const std::string &text) const {
        const Doc doc = parse(text);
        return doc != nullptr && xml_get_doc_root(doc.get()) == nullptr;
    }

    TempFolder folder_;
};

size_t depth_of(xml_node *node) {
    size_t depth = 0;
    for (; node != nullptr; node = xml_get_child_node(node, nullptr)) {
        ++depth;
    }
    return depth;
}

struct DeepWork {
    std::string path;
    size_t depth;
};

void *parse_deep(void *argument) {
    auto *work = static_cast<DeepWork *>(argument);
    xml_doc *doc = xml_file_parse(work->path.c_str());
    work->depth = depth_of(xml_get_doc_root(doc));
    xml_free_doc(doc);
    return nullptr;
}

}  // namespace

TEST_F(Xml, WalksTheElementsInDocumentOrder) {
    const Doc doc = parse(
        "<?xml version=\"1.0\"?>\n<modules>\n  <!-- first -->\n  <wlan>\n    <delay>500</delay>\n"
        "    <cmd>wlan -d</cmd>\n  </wlan>\n  text\n  <?hint?>\n  <router/>\n  <wlan/>\n</modules>\n");
    xml_node *root = xml_get_doc_root(doc.get());
    EXPECT_STREQ("modules", xml_get_node_name(root));

    xml_node *wlan = xml_get_child_node(root, nullptr);
    EXPECT_STREQ("wlan", xml_get_node_name(wlan));
    EXPECT_STREQ("500", xml_get_node_value(xml_get_child_node(wlan, "delay")));
    EXPECT_STREQ("wlan -d", xml_get_node_value(xml_get_child_node(wlan, "cmd")));

    xml_node *router = xml_get_next_node(wlan);
    EXPECT_STREQ("router", xml_get_node_name(router));
    xml_node *second = xml_get_next_node(router);
    EXPECT_STREQ("wlan", xml_get_node_name(second));
    EXPECT_EQ(nullptr, xml_get_next_node(second));
    EXPECT_EQ(nullptr, xml_get_next_node(root));
}

TEST_F(Xml, FindsTheFirstChildOfAName) {
    const Doc doc = parse("<r><a>1</a><b>2</b><b>3</b></r>");
    xml_node *root = xml_get_doc_root(doc.get());
    EXPECT_STREQ("2", xml_get_node_value(xml_get_child_node(root, "b")));
    EXPECT_EQ(nullptr, xml_get_child_node(root, "B"));
    EXPECT_EQ(nullptr, xml_get_child_node(root, ""));
    EXPECT_EQ(nullptr, xml_get_child_node(xml_get_child_node(root, "a"), nullptr));
}

TEST_F(Xml, TakesNull) {
    EXPECT_EQ(nullptr, xml_file_parse(nullptr));
    EXPECT_EQ(nullptr, xml_get_doc_root(nullptr));
    EXPECT_EQ(nullptr, xml_get_child_node(nullptr, "a"));
    EXPECT_EQ(nullptr, xml_get_child_node(nullptr, nullptr));
    EXPECT_EQ(nullptr, xml_get_next_node(nullptr));
    EXPECT_STREQ("", xml_get_node_name(nullptr));
    EXPECT_STREQ("", xml_get_node_value(nullptr));
    xml_free_doc(nullptr);
}

TEST_F(Xml, GivesTheEmptyTextForAnElementWithoutText) {
    EXPECT_EQ("", root_value("<r/>"));
    EXPECT_EQ("", root_value("<r></r>"));
    EXPECT_EQ("", root_value("<r>  \n </r>"));
    EXPECT_EQ("", root_value("<r><!-- no --></r>"));
    EXPECT_EQ("", root_value("<r><a>inner</a></r>"));
    EXPECT_EQ("", root_value("<r attribute='no'/>"));
}

TEST_F(Xml, ExpandsOnlyTheFiveEntities) {
    EXPECT_EQ("<>&'\"", root_value("<r>&lt;&gt;&amp;&apos;&quot;</r>"));
    EXPECT_EQ("A", root_value("<r>&#65;</r>"));
    EXPECT_EQ("&unknown;", root_value("<r>&unknown;</r>"));
    EXPECT_EQ("&own;", root_value("<!DOCTYPE r [<!ENTITY own 'text'>]><r>&own;</r>"));
    EXPECT_EQ("&file;", root_value("<!DOCTYPE r [<!ENTITY file SYSTEM '/etc/passwd'>]><r>&file;</r>"));
}

TEST_F(Xml, JoinsATextThatACommentInterrupts) {
    EXPECT_EQ("FRWK_FLAG_RUN FRWK_FLAG_BLOCK",
              root_value("<r>FRWK_FLAG_RUN<!-- and --> FRWK_FLAG_BLOCK</r>"));
    EXPECT_EQ("abcd", root_value("<r>a<!--1-->b<!--2-->c<!--3-->d</r>"));
}

TEST_F(Xml, JoinsATextWithCdataSections) {
    EXPECT_EQ("a<b>&amp;c", root_value("<r>a<![CDATA[<b>&amp;]]>c</r>"));
    EXPECT_EQ("x", root_value("<r><![CDATA[x]]></r>"));
    EXPECT_EQ("xy", root_value("<r><![CDATA[x]]><![CDATA[y]]></r>"));
}

TEST_F(Xml, JoinsATextAroundAChildAndKeepsTheChild) {
    const Doc doc = parse("<r>a<child>inner</child>b<other/>c</r>");
    xml_node *root = xml_get_doc_root(doc.get());
    EXPECT_STREQ("abc", xml_get_node_value(root));
    xml_node *child = xml_get_child_node(root, "child");
    EXPECT_STREQ("inner", xml_get_node_value(child));
    EXPECT_STREQ("other", xml_get_node_name(xml_get_next_node(child)));
}

TEST_F(Xml, KeepsATextForTheLifeOfItsDocument) {
    const Doc doc = parse("<r><a>1<!-- -->2</a><b>3<!-- -->4</b></r>");
    xml_node *root = xml_get_doc_root(doc.get());
    const char *a = xml_get_node_value(xml_get_child_node(root, "a"));
    const char *b = xml_get_node_value(xml_get_child_node(root, "b"));
    EXPECT_EQ(a, xml_get_node_value(xml_get_child_node(root, "a")));
    EXPECT_STREQ("12", a);
    EXPECT_STREQ("34", b);
}

TEST_F(Xml, GivesTheFirstPieceWhenThereIsNoMemoryToJoin) {
    const Doc doc = parse("<r>a<!-- -->b</r>");
    doubles::libc::malloc.stand_in([](size_t) -> void * { return nullptr; });
    EXPECT_STREQ("a", xml_get_node_value(xml_get_doc_root(doc.get())));
    doubles::libc::malloc.restore();
    EXPECT_STREQ("ab", xml_get_node_value(xml_get_doc_root(doc.get())));
}

TEST_F(Xml, GivesADocumentWithoutARootWhenNoElementBegins) {
    EXPECT_TRUE(has_no_root(""));
    EXPECT_TRUE(has_no_root(" \n\t\r\n"));
    EXPECT_TRUE(has_no_root("<?xml version=\"1.0\"?>\n<!-- nothing -->\n"));
    EXPECT_TRUE(has_no_root("just words"));
    EXPECT_TRUE(
        has_no_root(std::string("\x7f"
                                "ELF\x02\x01\x01\0\0\0\0",
                                11)));
    EXPECT_TRUE(has_no_root(std::string(100'000, '\0')));
}

TEST_F(Xml, RefusesAFileThatIsCutOff) {
    const std::string whole = "<r><a>text</a><b x='1'><![CDATA[c]]></b><!-- d --></r>";
    EXPECT_FALSE(is_refused(whole));
    for (size_t length = 1; length < whole.size(); ++length) {
        EXPECT_TRUE(is_refused(whole.substr(0, length))) << whole.substr(0, length);
    }
}

TEST_F(Xml, RefusesTagsThatDoNotMatch) {
    EXPECT_TRUE(is_refused("<a><b></a></b>"));
    EXPECT_TRUE(is_refused("</a>"));
    EXPECT_TRUE(is_refused("<a>&#0;<</a>"));
    EXPECT_TRUE(is_refused(std::string("<a>\0</a>", 8)));
}

TEST_F(Xml, SurvivesEveryByteInEveryPlaceOfASmallFile) {
    const std::string whole = "<r a='1'>x&lt;<!--c--><b/></r>";
    for (size_t place = 0; place < whole.size(); ++place) {
        for (const char byte : std::string("\0\x01\x80\xFF<>&\"[!?", 11)) {
            std::string broken = whole;
            broken[place] = byte;
            const Doc doc = parse(broken);
            EXPECT_GE(2u, depth_of(xml_get_doc_root(doc.get()))) << broken;
        }
    }
}

TEST_F(Xml, ReadsFilesWithAByteOrderMark) {
    EXPECT_EQ("x", root_value("\xEF\xBB\xBF<r>x</r>"));
    EXPECT_EQ("x", root_value(std::string("\xFF\xFE<\0r\0>\0x\0<\0/\0r\0>\0", 18)));
}

TEST_F(Xml, WalksAndFreesAHundredThousandLevelsOnASmallStack) {
    constexpr size_t kLevels = 100'000;
    DeepWork work = {folder_.file("deep", repeated("<a>", kLevels) + repeated("</a>", kLevels)), 0};
    os_thread_t thread = 0;
    const os_thread_attr attr = {0, 128 * 1024};
    ASSERT_EQ(0, os_thread_create(&thread, &attr, parse_deep, &work));
    ASSERT_EQ(0, os_thread_join(thread));
    EXPECT_EQ(kLevels, work.depth);
}

TEST_F(Xml, RefusesAHundredThousandLevelsThatNeverEnd) {
    EXPECT_TRUE(is_refused(repeated("<a>", 100'000)));
    EXPECT_TRUE(is_refused("<!DOCTYPE r " + repeated("[<!A ", 100'000)));
}

TEST_F(Xml, ReadsATextOf10MB) {
    const std::string text(size_t{10} << 20, 'F');
    EXPECT_EQ(text, root_value("<r>" + text + "</r>"));
    EXPECT_EQ(text + text, root_value("<r>" + text + "<!-- -->" + text + "</r>"));
}

TEST_F(Xml, JoinsAHundredThousandPieces) {
    EXPECT_EQ(std::string(100'000, 'x'), root_value("<r>" + repeated("x<!---->", 100'000) + "</r>"));
}

TEST_F(Xml, RefusesWhatIsNoRegularFile) {
    ASSERT_EQ(0, mkfifo(folder_.path("pipe").c_str(), 0600));
    EXPECT_EQ(nullptr, xml_file_parse(folder_.path("missing").c_str()));
    EXPECT_EQ(nullptr, xml_file_parse(folder_.path().c_str()));
    EXPECT_EQ(nullptr, xml_file_parse(folder_.path("pipe").c_str()));
    EXPECT_EQ(nullptr, xml_file_parse("/dev/zero"));
    EXPECT_EQ(nullptr, xml_file_parse(""));
}

TEST_F(Xml, RefusesAFileAbove64MiBWithoutReadingIt) {
    const std::string path = folder_.file("x", "<r/>");
    ASSERT_EQ(0, truncate(path.c_str(), (off_t{64} << 20) + 1));
    EXPECT_EQ(nullptr, xml_file_parse(path.c_str()));
    EXPECT_EQ(0u, doubles::libc::read.calls());

    ASSERT_EQ(0, truncate(path.c_str(), off_t{64} << 20));
    Doc(xml_file_parse(path.c_str()));
    EXPECT_NE(0u, doubles::libc::read.calls());
}

TEST_F(Xml, OpensItsFileForItselfOnlyAndClosesIt) {
    int opened_with = 0;
    doubles::libc::open.stand_in([&opened_with](const char *path, int flags, mode_t mode) {
        opened_with = flags;
        return doubles::libc::open.real(path, flags, mode);
    });
    const Doc doc = parse("<r/>");
    EXPECT_NE(nullptr, doc);
    EXPECT_EQ(O_CLOEXEC, opened_with & O_CLOEXEC);
    EXPECT_EQ(1u, doubles::libc::close.calls());
}

TEST_F(Xml, RefusesAFileThatCannotBeOpened) {
    doubles::libc::open.fail(EMFILE);
    EXPECT_TRUE(is_refused("<r/>"));
    EXPECT_EQ(0u, doubles::libc::close.calls());
}

TEST_F(Xml, RefusesAFileThatCannotBeRead) {
    doubles::libc::read.fail(EIO);
    EXPECT_TRUE(is_refused("<r/>"));
    EXPECT_EQ(1u, doubles::libc::close.calls());
}

TEST_F(Xml, ReadsOnAfterASignalAndAShortRead) {
    doubles::libc::read.stand_in([](int fd, void *buffer, size_t) -> ssize_t {
        if (doubles::libc::read.calls() % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, buffer, 1);
    });
    EXPECT_EQ("x", root_value("<r>x</r>"));
}

TEST_F(Xml, ParsesWhatIsLeftOfAFileThatBecameShorter) {
    doubles::libc::read.stand_in([](int, void *buffer, size_t) -> ssize_t {
        if (doubles::libc::read.calls() > 1) {
            return 0;
        }
        memcpy(buffer, "<r>y</r>", 8);
        return 8;
    });
    EXPECT_EQ("y", root_value("<r>a longer text</r>"));
}

TEST_F(Xml, GivesNoDocumentWithoutMemory) {
    for (unsigned granted = 0; granted < 2; ++granted) {
        doubles::libc::malloc.forget_calls();
        doubles::libc::malloc.stand_in([granted](size_t size) -> void * {
            return doubles::libc::malloc.calls() > granted ? nullptr : doubles::libc::malloc.real(size);
        });
        EXPECT_TRUE(is_refused("<r/>")) << granted;
        doubles::libc::malloc.restore();
    }
}
