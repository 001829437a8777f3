/*
 * JSON members and names with the second base library, whose JSON objects are opaque.
 */
#include <gtest/gtest.h>
#include <json-c/json_object.h>
#include <json-c/json_tokener.h>

#include <cstring>
#include <memory>
#include <string>

#include "apps_err.h"
#include "apps_message.h"
#include "frwk_utils.h"

namespace {

struct Release {
    void operator()(json_object *object) const { json_object_put(object); }
};
using Object = std::unique_ptr<json_object, Release>;

template <typename Value>
apps_err_e_type read(const Object &object, const char *name, int32_t type, Value *value) {
    return frwk_get_json_item_value(reinterpret_cast<const json_item *>(object.get()), type, name, value,
                                    sizeof(*value));
}

}  // namespace

TEST(SecondBaseJson, MembersAreRead) {
    const Object object(json_tokener_parse(R"({"number": 7, "half": 0.5, "text": "seven", "digits": "8"})"));
    int32_t number = 0;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, read(object, "number", FRWK_DATA_TYPE_INT, &number));
    EXPECT_EQ(7, number);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, read(object, "digits", FRWK_DATA_TYPE_INT, &number));
    EXPECT_EQ(8, number);
    double half = 0;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, read(object, "half", FRWK_DATA_TYPE_DOUBLE, &half));
    EXPECT_EQ(0.5, half);
    char text[8] = "";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, read(object, "text", FRWK_DATA_TYPE_STRING, &text));
    EXPECT_STREQ("seven", text);
}

TEST(SecondBaseJson, ANumberHasNoText) {
    const Object object(json_tokener_parse(R"({"number": 7})"));
    char text[8] = "before";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, read(object, "number", FRWK_DATA_TYPE_STRING, &text));
    EXPECT_STREQ("", text);
}

TEST(SecondBaseJson, AMissingMemberIsNotFound) {
    const Object object(json_tokener_parse("{}"));
    int32_t number = 0;
    EXPECT_EQ(E_APPS_ERR_NOTFOUND, read(object, "number", FRWK_DATA_TYPE_INT, &number));
}

TEST(SecondBaseNames, ComeFromTheSameTables) {
    EXPECT_STREQ("E_APPS_ERR_FAILURE", zn_enum_to_str_apps_err_e_type(-1));
    EXPECT_EQ(nullptr, zn_enum_to_str_apps_err_e_type(1234567));
    EXPECT_EQ(3004, zn_str_to_enum_apps_message_id_e_type("E_APPS_MSG_ROUTER_HOSTS_INFO_REQ"));
}
