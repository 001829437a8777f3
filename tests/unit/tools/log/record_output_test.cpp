#include "log/record_output.h"

#include <gtest/gtest.h>

namespace {

TEST(RecordOutput, ColoursLevels) {
    for (const char *level : {"emergency", "alert", "critical", "error"}) {
        EXPECT_EQ(Style::kAlert, style_of_level(level_named(level))) << level;
    }
    EXPECT_EQ(Style::kWarning, style_of_level(level_named("warning")));
    EXPECT_EQ(Style::kStrong, style_of_level(level_named("notice")));
    EXPECT_EQ(Style::kPlain, style_of_level(level_named("info")));
    EXPECT_EQ(Style::kFaint, style_of_level(level_named("debug")));
    EXPECT_EQ(Style::kFaint, style_of_level(level_named("verbose")));
    EXPECT_EQ(Style::kPlain, style_of_level(kNoLevel));
}

TEST(RecordOutput, JsonHasOnlyWhatTheLineSays) {
    const auto text_of = [](const char *line) {
        return std::string(json_object_to_json_string_ext(record_as_json(parse_log_line(line)).get(),
                                                          JSON_C_TO_STRING_PLAIN));
    };
    EXPECT_EQ(R"({"text":"no form"})", text_of("no form"));
    EXPECT_EQ(R"({"time":"Nov 21 04:40:00","module":"wlan","process":"7","level":"error","text":"a"})",
              text_of("Nov 21 04:40:00 box user.err wlan[7]: a"));
}

}  // namespace
