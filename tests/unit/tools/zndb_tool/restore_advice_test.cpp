/*
 * The advice after a failed restore.
 */
#include "zndb_tool/restore_advice.h"

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

constexpr char kGoBack[] =
    "to go back, restore a backup that was made before; FILE is unchanged, and the restore can be repeated";

RestoreFacts some_facts() {
    RestoreFacts facts;
    facts.file = "FILE";
    facts.product = "QR-100";
    facts.settings_before = 7;
    return facts;
}

TEST(RestoreAdvice, WhereNothingChangedSaysSoAndNoMore) {
    EXPECT_EQ("; it is damaged, or of another kind of device, or the database failed; nothing has changed",
              restore_hint(some_facts()));
    EXPECT_EQ(Lines(), restore_advice(some_facts()));
}

TEST(RestoreAdvice, WithoutAProductSaysSo) {
    RestoreFacts facts = some_facts();
    facts.product = "";
    EXPECT_EQ("; the device doesn't know its product: device_product_name is not set; nothing has changed",
              restore_hint(facts));
    EXPECT_EQ(Lines(), restore_advice(facts));
}

TEST(RestoreAdvice, WithoutSpaceSaysSo) {
    RestoreFacts facts = some_facts();
    facts.lacks_space = true;
    EXPECT_EQ("; the device has no space for its settings, on its disk or in its memory; nothing has changed",
              restore_hint(facts));
    EXPECT_EQ(Lines(), restore_advice(facts));
}

/* The database was emptied and could not be saved. */
TEST(RestoreAdvice, OfAnEmptiedDatabaseSaysWhereItsSettingsAre) {
    RestoreFacts facts = some_facts();
    facts.has_changed = true;
    facts.settings_on_disk = 6;
    EXPECT_EQ("; the configuration may be incomplete", restore_hint(facts));
    EXPECT_EQ(
        (Lines{
            "the settings were emptied, all 7 of them, and nothing was brought back",
            "the 6 that were last saved are still on the disk, and are loaded again when the device restarts",
            kGoBack}),
        restore_advice(facts));
    facts.settings_on_disk = 0;
    EXPECT_EQ((Lines{"the settings were emptied, all 7 of them, and nothing was brought back", kGoBack}),
              restore_advice(facts));
}

TEST(RestoreAdvice, OfAPartSaysHowMuchIsThere) {
    RestoreFacts facts = some_facts();
    facts.was_refused = false;
    facts.has_changed = true;
    facts.settings_now = 3;
    facts.settings_on_disk = 3;
    const Lines lines = {
        "the settings were emptied; there were 7, and there are 3 now; files of the backup may be "
        "missing",
        kGoBack};
    EXPECT_EQ("; the configuration may be incomplete", restore_hint(facts));
    EXPECT_EQ(lines, restore_advice(facts));
    facts.has_changed = false; /* the same settings came back, but a file may not have */
    EXPECT_EQ("; the configuration may be incomplete", restore_hint(facts));
    EXPECT_EQ(lines, restore_advice(facts));
}

TEST(RestoreAdvice, ClaimsNothingOfSettingsThatCanNotBeRead) {
    RestoreFacts facts = some_facts();
    facts.is_known = false;
    EXPECT_EQ("; it is damaged, or of another kind of device, or the database failed", restore_hint(facts));
    EXPECT_EQ(Lines(), restore_advice(facts));
    facts.was_refused = false;
    EXPECT_EQ((Lines{"the settings were emptied; what is there now can't be read", kGoBack}),
              restore_advice(facts));
}

TEST(RestoreAdvice, NamesAProductThatIsLostAsAShellTakesIt) {
    RestoreFacts facts = some_facts();
    facts.was_refused = false;
    facts.product = "QR's $(name)";
    facts.knows_product = false;
    EXPECT_EQ(
        "the device no longer knows its product; first: zndb_tool set --save device_product_name "
        "'QR'\\''s $(name)'",
        restore_advice(facts).at(1));
    EXPECT_NE(std::string::npos, product_warning(facts.product).find("'QR'\\''s $(name)'"));
}

}  // namespace
