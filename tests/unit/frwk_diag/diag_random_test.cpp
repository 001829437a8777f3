/*
 * A hundred thousand random names: a refused one is never passed to a shell.
 */
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "frwk_utils.h"
#include "unit/frwk_diag/diag_requests.h"

namespace base = doubles::base;

namespace {

constexpr unsigned kRounds = 100'000;
constexpr char kHostCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.[]:";
constexpr char kShellCharacters[] = " \t\r\n;&|<>()$`\\\"'*?~#=%!{},/^@+-";

class RandomNames {
  public:
    /* A name of host characters; two of three have a wrong character, or are empty. */
    std::string next() {
        std::string name(pick(4) == 0 ? pick(300) : pick(12), '\0');
        for (char &character : name) {
            character = kHostCharacters[pick(sizeof(kHostCharacters) - 1)];
        }
        if (!name.empty() && pick(3) != 0) {
            name[pick(name.size())] = wrong_character();
        }
        return name;
    }
    size_t pick(size_t count) { return random_() % count; }

  private:
    char wrong_character() {
        return pick(2) == 0 ? kShellCharacters[pick(sizeof(kShellCharacters) - 1)]
                            : static_cast<char>(1 + pick(255));
    }

    std::mt19937 random_{7};
};

/* The rule in the test's own words. */
bool may_reach_a_shell(const std::string &name, size_t size) {
    return !name.empty() && name.size() < size && name[0] != '-' &&
           name.find_first_not_of(kHostCharacters) == std::string::npos;
}

struct Case {
    int32_t type;
    frwk_diag_req req;
    size_t size; /* of the field */
};

/* The name in one of the six places where a request has one. */
Case case_of(size_t place, const std::string &name) {
    switch (place) {
        case 0:
            return {FRWK_DIAG_TYPE_PING, ping_of(name), FRWK_DIAG_HOST_SIZE};
        case 1:
            return {FRWK_DIAG_TYPE_PING, ping_of("a", name), FRWK_DIAG_IFNAME_SIZE};
        case 2:
            return {FRWK_DIAG_TYPE_TRACEROUTE, traceroute_of(name), FRWK_DIAG_HOST_SIZE};
        case 3:
            return {FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of(name), FRWK_DIAG_HOST_SIZE};
        case 4:
            return {FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("a", name), FRWK_DIAG_HOST_SIZE};
        default:
            return {FRWK_DIAG_TYPE_IPERF, iperf_of(name), FRWK_DIAG_HOST_SIZE};
    }
}

class DiagRandom : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        base::os_trace_print.stand_in([](int, const char *, const char *, int, const char *) {});
        base::os_system.stand_in([this](const char *command) {
            command_ = command;
            return 0;
        });
    }

    /* Whether a shell saw the request; it must have seen the name as one word then. */
    bool reaches_a_shell(const Case &tried, const std::string &name) {
        command_.clear();
        frwk_diag_ctx context;
        frwk_diag_init(&context);
        const int32_t result = frwk_diag_exec(tried.type, &tried.req, &context);
        frwk_diag_free(&context);
        EXPECT_EQ(command_.empty() ? E_APPS_ERR_PARAM : E_APPS_ERR_IO, result) << name;
        return !command_.empty();
    }

    std::string command_;
};

}  // namespace

TEST_F(DiagRandom, NoShellSeesANameThatIsRefused) {
    RandomNames names;
    unsigned seen = 0;
    for (unsigned round = 0; round < kRounds; ++round) {
        const std::string name = names.next();
        const size_t place = names.pick(6);
        const Case tried = case_of(place, name);
        const bool optional = place == 1 || place == 4;
        const bool expected = (optional && name.empty()) || may_reach_a_shell(name, tried.size);

        ASSERT_EQ(expected, reaches_a_shell(tried, name)) << round << ": " << name;
        if (expected && !name.empty()) {
            ASSERT_EQ(1u, frwk_domain_check(name.c_str())) << name;
            const bool quoted = name.find_first_of("[]") != std::string::npos;
            const std::string word = quoted ? " '" + name + "' " : " " + name + " ";
            ASSERT_NE(std::string::npos, command_.find(word)) << command_;
        }
        seen += expected ? 1 : 0;
    }
    EXPECT_EQ(seen, base::os_system.calls());
    EXPECT_GT(seen, kRounds / 10);
    EXPECT_LT(seen, kRounds / 2);
}
