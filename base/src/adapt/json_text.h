/*
 * Checks the tokens of a JSON text before json-c parses it: json-c accepts some texts that RFC 8259 forbids,
 * and clamps large integers. json-c itself checks whether the tokens form a value.
 *
 * Pure; any thread.
 */
#pragma once

namespace json_text {

enum class Token {
    kEnd,
    kPlain,       /* any other valid token */
    kBeforeItem,  /* a comma or an opening bracket: every value except the first follows one */
    kLongInteger, /* a number beyond int64_t without decimal point and exponent */
    kBad          /* malformed, or a string with U+0000 */
};

/* Moves *at past its token. At the end of the text and at a bad token, *at is unchanged. */
Token skip_token(const char **at);

}  // namespace json_text
