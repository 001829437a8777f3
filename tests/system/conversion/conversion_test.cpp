/*
 * The conversions of this host, compared over generated texts with the C library of a 32-bit program.
 */
#include <gtest/gtest.h>

#include <cstring>

#include "doubles/faults_test_fixture.h"
#include "frwk_utils.h"
#include "os_log.h"
#include "system/conversion/libc_reference.h"
#include "system/conversion/text_generator.h"

namespace {

constexpr size_t kTexts = 1200000;
constexpr size_t kTextsOfABlock = 2000;
constexpr uint64_t kSeed = 20240229;
constexpr int kMostFailures = 10;

/* The outcome of a conversion: its result and, if that is 0, the variable's bits. */
struct Outcome {
    apps_err_e_type result;
    uint64_t bits;

    bool operator==(const Outcome &other) const { return result == other.result && bits == other.bits; }
};

Outcome in_range(int32_t number, int32_t low, int32_t high, uint64_t mask) {
    if (number < low || number > high) {
        return {E_APPS_ERR_PARAM, 0};
    }
    return {E_APPS_ERR_SUCCESS, static_cast<uint64_t>(number) & mask};
}

Outcome any(uint64_t bits) {
    return {E_APPS_ERR_SUCCESS, bits};
}

/* The value that the framework must read from the text from which the C library read these numbers. */
Outcome expected(int32_t type, const libc_numbers &numbers) {
    switch (type) {
        case FRWK_DATA_TYPE_BYTE:
        case FRWK_DATA_TYPE_UCHAR:
            return in_range(numbers.of_strtol, 0, 255, 0xff);
        case FRWK_DATA_TYPE_SHORT:
            return in_range(numbers.of_strtol, -32767, 32767, 0xffff);
        case FRWK_DATA_TYPE_USHORT:
            return in_range(numbers.of_strtol, 0, 65535, 0xffff);
        case FRWK_DATA_TYPE_INT:
            return in_range(numbers.of_strtol, -2147483647, 2147483647, 0xffffffff);
        case FRWK_DATA_TYPE_LONG:
            return any(static_cast<uint32_t>(numbers.of_strtol));
        case FRWK_DATA_TYPE_UINT:
        case FRWK_DATA_TYPE_ULONG:
            return any(numbers.of_strtoul);
        case FRWK_DATA_TYPE_LLONG:
            return any(static_cast<uint64_t>(numbers.of_strtoll));
        case FRWK_DATA_TYPE_ULLONG:
            return any(numbers.of_strtoull);
        case FRWK_DATA_TYPE_FLOAT:
            return any(numbers.of_strtod_cast);
        default:
            return any(numbers.of_strtod);
    }
}

/* A variable of fewer bytes leaves the others 0; the devices and the hosts are all little-endian. */
Outcome converted(int32_t type, const char *text) {
    Outcome outcome{};
    outcome.result = frwk_str_to_value(type, text, &outcome.bits, sizeof(outcome.bits));
    return outcome;
}

std::vector<std::string> generated(TextGenerator &generator) {
    std::vector<std::string> texts(kTextsOfABlock);
    for (std::string &each : texts) {
        each = generator.next();
    }
    return texts;
}

std::string joined(const std::vector<std::string> &texts) {
    std::string block;
    for (const std::string &each : texts) {
        block.append(each.c_str(), each.size() + 1);
    }
    return block;
}

/* How often the texts met each of the cases that matter. */
struct Met {
    size_t refused = 0;
    size_t highest_long = 0;
    size_t lowest_long = 0;
    size_t highest_ulong = 0;
    size_t infinite_float = 0;

    void add(const libc_numbers &numbers) {
        refused += expected(FRWK_DATA_TYPE_INT, numbers).result != E_APPS_ERR_SUCCESS;
        highest_long += numbers.of_strtol == INT32_MAX;
        lowest_long += numbers.of_strtol == INT32_MIN;
        highest_ulong += numbers.of_strtoul == UINT32_MAX;
        infinite_float += (numbers.of_strtod_cast & 0x7fffffff) == 0x7f800000;
    }
};

class Conversion : public FaultsTest {
  protected:
    /* Refused numbers are expected here by the thousand. */
    void SetUp() override {
        FaultsTest::SetUp();
        g_syslog_level = OS_LOG_WARNING - 1;
    }

    /* Returns the types that the text was converted to as it should not be. */
    static std::string differences(const std::string &text, const libc_numbers &numbers) {
        std::string types;
        for (const int32_t type : {3, 4, 6, 7, 8, 9, 10, 11, 12, 13, 16, 17}) {
            if (!(converted(type, text.c_str()) == expected(type, numbers))) {
                types += " " + std::to_string(type);
            }
        }
        return types;
    }
};

}  // namespace

TEST_F(Conversion, AgreesWithThe32BitCLibraryOnAMillionTexts) {
    LibcReference reference(LIBC_REFERENCE);
    ASSERT_TRUE(reference.ready());
    TextGenerator generator(kSeed);

    Met met;
    int failures = 0;
    for (size_t done = 0; done < kTexts; done += kTextsOfABlock) {
        const std::vector<std::string> texts = generated(generator);
        const std::vector<libc_numbers> answers = reference.ask(joined(texts), texts.size());
        ASSERT_EQ(answers.size(), texts.size());
        for (size_t i = 0; i < texts.size(); ++i) {
            met.add(answers[i]);
            const std::string types = differences(texts[i], answers[i]);
            if (!types.empty()) {
                ADD_FAILURE() << "\"" << texts[i] << "\" differs as type" << types;
                ASSERT_LT(++failures, kMostFailures);
            }
        }
    }

    EXPECT_GT(met.refused, 10000u);
    EXPECT_GT(met.highest_long, 10000u);
    EXPECT_GT(met.lowest_long, 10000u);
    EXPECT_GT(met.highest_ulong, 10000u);
    EXPECT_GT(met.infinite_float, 10000u);
}
