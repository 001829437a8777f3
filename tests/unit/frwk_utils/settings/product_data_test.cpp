/*
 * Product data: the requests for the lines of a file.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"

using namespace std::string_literals;

namespace {

constexpr char kCall[] = "frwk_specify_path_db_adapt";
constexpr char kPath[] = "/m_data/usr/product.txt";

using Requests = std::vector<std::string>;

class ProductData : public ConfigTest {
  protected:
    void TearDown() override {
        remove_node(kPath);
        ConfigTest::TearDown();
    }

    /* The requests that a file becomes, "call key=value" each. */
    Requests requests_of(const std::string &content) {
        write_file(kPath, content);
        database().requests.clear();
        EXPECT_EQ(0, frwk_specify_path_db_adapt(kPath));
        Requests requests;
        for (const DatabaseRequest &request : database().requests) {
            requests.push_back(request.call + " " + request.key + "=" + request.value);
        }
        return requests;
    }
};

}  // namespace

TEST_F(ProductData, EachPairBecomesASetOfThePlainStoreAndNothingIsSaved) {
    const LogCapture log;
    EXPECT_EQ((Requests{"zndb_set model=R1", "zndb_set url=a=b", "zndb_set empty=", "zndb_set k = v"}),
              requests_of("model=R1\n url=a=b\nempty=\n\tk = v \t\n"));
    EXPECT_TRUE(database().perm.empty());
    EXPECT_EQ("R1", stored("model"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "set product id data model=R1"));
    EXPECT_EQ(4u, log.debug_lines().size()) << log.text();
}

TEST_F(ProductData, ANullPathIsRefused) {
    const LogCapture log;
    EXPECT_EQ(-1, frwk_specify_path_db_adapt(nullptr));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "path null\n"));
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ProductData, AMissingFileIsRefused) {
    const LogCapture log;
    EXPECT_EQ(-1, frwk_specify_path_db_adapt("/m_data/usr/missing.txt"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "file(/m_data/usr/missing.txt) not find\n"));
    EXPECT_EQ(-1, frwk_specify_path_db_adapt(""));
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ProductData, AnEmptyFileSetsNothing) {
    const LogCapture log;
    EXPECT_EQ(Requests{}, requests_of(""));
    EXPECT_EQ("", log.text());
}

TEST_F(ProductData, ACommentInTheFirstColumnSetsNothing) {
    const LogCapture log;
    EXPECT_EQ(Requests{}, requests_of("#a=1"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "line empty or '#', continue \n"));
}

TEST_F(ProductData, ACommentBehindABlankIsAPair) {
    EXPECT_EQ(Requests{"zndb_set #a=1"}, requests_of(" #a=1\n"));
    EXPECT_EQ(Requests{"zndb_set #a=1"}, requests_of("\t#a=1\n"));
}

TEST_F(ProductData, TheFirstEqualsSignSplits) {
    EXPECT_EQ((Requests{"zndb_set k=v=w", "zndb_set k="}), requests_of("k=v=w\nk=\n"));
    EXPECT_EQ("", stored("k"));
}

TEST_F(ProductData, AnEmptyLineIsNotedAndSkipped) {
    const LogCapture log;
    EXPECT_EQ(Requests{"zndb_set a=1"}, requests_of("\n\r\na=1\n"));
    EXPECT_EQ(2u, count_lines(log.debug_lines(), kDebugLevel, "line empty or '#', continue \n"));
}

TEST_F(ProductData, ALineOfBlanksIsNoPair) {
    const LogCapture log;
    EXPECT_EQ(Requests{}, requests_of("   \n"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "not found '='\n"));
}

TEST_F(ProductData, AnyOtherTextIsSkippedAndLogged) {
    const LogCapture log;
    EXPECT_EQ(Requests{"zndb_set a=1"}, requests_of("no pair\na=1\n"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "not found '='\n"));
}

TEST_F(ProductData, ALineThatBeginsWithNulIsEmpty) {
    const LogCapture log;
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set c=3"}), requests_of("a=1\n\0b=2\nc=3\n"s));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "line empty or '#', continue \n"));
    EXPECT_FALSE(log.contains("format error"));
}

TEST_F(ProductData, ALineOf1055CharactersIsTaken) {
    const std::string line = std::string(31, 'k') + "=" + std::string(1023, 'v');
    EXPECT_EQ(Requests{"zndb_set " + line}, requests_of(line + "\n"));
}

TEST_F(ProductData, ALineOf1056CharactersIsSkippedAndLogged) {
    const LogCapture log;
    const std::string line = "key=" + std::string(1052, 'v');
    EXPECT_EQ(Requests{"zndb_set a=1"}, requests_of(line + "\na=1\n"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "buf is " + line + " too long\n"));
    EXPECT_EQ(1u, log.count(" line 1 skipped: it is too long")) << log.text();
}

TEST_F(ProductData, ALongerLineIsReadInPiecesWhichAreLinesOfTheirOwn) {
    const LogCapture log;
    const std::string line = "key=" + std::string(1052, 'v');
    EXPECT_EQ((Requests{"zndb_set b=2", "zndb_set a=1"}), requests_of(line + "b=2\na=1\n"));
    EXPECT_EQ(Requests{"zndb_set a=1"}, requests_of(line + "w\na=1\n"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "not found '='\n"));
}

TEST_F(ProductData, FailedRequestsAreNeitherLoggedNorCounted) {
    const LogCapture log;
    database().result = E_ZNDB_RET_IPC;
    EXPECT_EQ((Requests{"zndb_set a=1", "zndb_set b=2"}), requests_of("a=1\nb=2\n"));
    EXPECT_EQ(2u, log.debug_lines().size()) << log.text();
}

TEST_F(ProductData, ValuesAreLoggedAtTheDebugLevelOnly) {
    const LogCapture log;
    (void)requests_of("key=hunter2\nk=hunter2" + std::string(1060, 'v') + "\n");
    EXPECT_TRUE(log.contains("hunter2"));
    for (const LogLine &line : log.system_lines()) {
        EXPECT_TRUE(line.level >= kDebugLevel || line.text.find("hunter2") == std::string::npos) << line.text;
    }
}
