/*
 * The start-up list: separators, sizes around its fixed buffer, and lists that can't be read.
 */
#include "frwk_common/modules/module_run_list.h"

#include <fcntl.h>

#include <cerrno>
#include <set>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kFile[] = "/etc/quor_apps_startup";
constexpr char kLoader[] = "frwk_load_module_run";

using Ids = std::set<int32_t>;

class ModuleRunListTest : public ModuleTest {
  protected:
    ModuleRunListTest() { (void)unlink(kFile); }
    ~ModuleRunListTest() override { (void)unlink(kFile); }

    /* Loads a list; returns the modules that are marked then, tool among them as 0. */
    static Ids load(const std::string &content) {
        write_file(kFile, content);
        return load_what_is_there();
    }
    static Ids load_what_is_there() {
        modules::load_run_list();
        Ids marked;
        for (int32_t id = 0; id < FRWK_MODULE_ROWS; ++id) {
            if ((g_modules_info[id].flag & FRWK_FLAG_RUN) != 0) {
                marked.insert(id);
            }
        }
        return marked;
    }

    LogCapture log_;
};

/* A list that ends with wlan and has exactly this many bytes. */
std::string list_of(size_t size) {
    return "router\n" + std::string(size - 11, ' ') + "wlan";
}

}  // namespace

TEST_F(ModuleRunListTest, MarksExactlyTheModulesThatItNames) {
    EXPECT_EQ(load("router\r\n\r\n  wlan\r\n\n\t dbm\r\n"), (Ids{3, 5, 12}));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ModuleRunListTest, AddsTheFlagToTheOthers) {
    load("wlan");
    EXPECT_EQ(g_modules_info[5].flag, 0x1226u);
}

TEST_F(ModuleRunListTest, TakesAnyRunOfSeparators) {
    EXPECT_EQ(load("router wlan\tdbm\nsms\rvoice \t\r\n \r device"), (Ids{3, 5, 12, 11, 10, 9}));
}

TEST_F(ModuleRunListTest, SkipsLeadingBlanksAndTabs) {
    EXPECT_EQ(load(" \t wlan\n"), Ids{5});
}

TEST_F(ModuleRunListTest, NeedsNoLastLineEnd) {
    EXPECT_EQ(load("router\nwlan"), (Ids{3, 5}));
}

TEST_F(ModuleRunListTest, MayNameAModuleTwice) {
    EXPECT_EQ(load("wlan wlan\nwlan"), Ids{5});
}

TEST_F(ModuleRunListTest, ANameThatDoesNotExistMarksTheTool) {
    EXPECT_EQ(load("router nonesuch wlan"), (Ids{0, 3, 5}));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ModuleRunListTest, TheNameOfTheToolMarksTheTool) {
    EXPECT_EQ(load("tool"), Ids{0});
}

TEST_F(ModuleRunListTest, NamesAreComparedByteForByte) {
    EXPECT_EQ(load("WLAN wlan2 wla router,wlan"), Ids{0});
}

TEST_F(ModuleRunListTest, EndsAtAZeroByte) {
    EXPECT_EQ(load(std::string("router\0wlan", 11)), Ids{3});
    g_modules_info[3].flag = 0;
    EXPECT_EQ(load(std::string("router\n\0wlan", 12)), Ids{3});
}

TEST_F(ModuleRunListTest, AnEmptyListMarksNoModule) {
    EXPECT_EQ(load(""), Ids{});
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ModuleRunListTest, AListOfSeparatorsMarksNoModule) {
    EXPECT_EQ(load(" \t\r\n \n\n"), Ids{});
}

TEST_F(ModuleRunListTest, SkipsLineEndsBeforeTheFirstName) {
    EXPECT_EQ(load("\n\r\n router\n"), Ids{3});
}

TEST_F(ModuleRunListTest, AListOf511BytesNeedsNoHeap) {
    EXPECT_EQ(load(list_of(511)), (Ids{3, 5}));
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
}

TEST_F(ModuleRunListTest, AListOf512BytesIsReadThroughTheHeap) {
    size_t asked = 0;
    base::os_mem_malloc.stand_in([&asked](size_t size) {
        asked = size;
        return base::os_mem_malloc.real(size);
    });
    EXPECT_EQ(load(list_of(512)), (Ids{3, 5}));
    EXPECT_EQ(base::os_mem_malloc.calls(), 1u);
    EXPECT_EQ(asked, 513u);
}

TEST_F(ModuleRunListTest, AListOf513BytesIsReadThroughTheHeap) {
    EXPECT_EQ(load(list_of(513)), (Ids{3, 5}));
    EXPECT_EQ(base::os_mem_malloc.calls(), 1u);
}

TEST_F(ModuleRunListTest, AListOfFiveMegabytesIsReadWhole) {
    EXPECT_EQ(load(list_of(5u << 20)), (Ids{3, 5}));
}

TEST_F(ModuleRunListTest, ASingleNameOfFiveMegabytesIsNone) {
    EXPECT_EQ(load(std::string(5u << 20, 'w')), Ids{0});
}

TEST_F(ModuleRunListTest, GivesItsBlockAndItsFileBack) {
    os_mem_usage_t before;
    os_mem_usage(&before);
    const size_t descriptors = open_descriptors();
    load(list_of(100000));
    os_mem_usage_t after;
    os_mem_usage(&after);
    EXPECT_EQ(after.live_blocks, before.live_blocks);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(ModuleRunListTest, ReportsThatThereIsNoMemory) {
    base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
    const size_t descriptors = open_descriptors();
    EXPECT_EQ(load(list_of(512)), Ids{});
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, "alloc for load apps run cfg file failed!"));
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(ModuleRunListTest, RefusesAListThatIsLargerThanAnyBlock) {
    write_file(kFile, "wlan\n");
    ASSERT_EQ(truncate(kFile, 65u << 20), 0);
    EXPECT_EQ(load_what_is_there(), Ids{});
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, "alloc for load apps run cfg file failed!"));
}

TEST_F(ModuleRunListTest, RefusesAListOfFourGigabytes) {
    for (const off_t size : {off_t{0xFFFFFFFF}, off_t{0x100000000}}) {
        write_file(kFile, "wlan\n");
        ASSERT_EQ(truncate(kFile, size), 0);
        log_.clear();
        EXPECT_EQ(load_what_is_there(), Ids{});
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, "alloc for load apps run cfg file failed!"));
    }
}

TEST_F(ModuleRunListTest, ReportsAMissingList) {
    EXPECT_EQ(load_what_is_there(), Ids{});
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kLoader, "can't found apps run cfg file(/etc/quor_apps_startup)!"));
}

TEST_F(ModuleRunListTest, AListThatCannotBeReadIsReported) {
    libc::fread.stand_in([](void *text, size_t size, size_t count, FILE *file) {
        const int folder = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        (void)::dup2(folder, ::fileno(file));
        (void)::close(folder);
        return libc::fread.real(text, size, count, file);
    });
    EXPECT_EQ(load("wlan\n"), Ids{});
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kLoader, with_errno("read apps run cfg file error!", EISDIR)));
}

TEST_F(ModuleRunListTest, AFolderInPlaceOfTheListMarksNoModule) {
    ASSERT_EQ(mkdir(kFile, 0755), 0);
    EXPECT_EQ(load_what_is_there(), Ids{});
    (void)rmdir(kFile);
}

TEST_F(ModuleRunListTest, ABinaryListIsNoHarm) {
    std::string binary;
    for (int i = 0; i < 100000; ++i) {
        binary += static_cast<char>(1 + i % 255);
    }
    Ids marked = load(binary);
    marked.erase(0);
    EXPECT_EQ(marked, Ids{});
}
