/*
 * The letters of a JSON text, looked at before json-c sees them: what it lets pass although RFC 8259 forbids
 * it, and the integers that it can't hold. Whether the tokens form a value is for json-c to say.
 *
 * Pure; every function may be called from any thread.
 */
#pragma once

namespace json_text {

enum class Token {
    kEnd,
    kPlain,       /* fine */
    kBeforeItem,  /* what every value but the first follows: a comma or an opening bracket */
    kLongInteger, /* a number without point and exponent, and beyond int64_t */
    kBad          /* malformed, or a string with U+0000 */
};

/* Moves *at behind the token that begins there. At the end and at a bad token it stays. */
Token skip_token(const char **at);

}  // namespace json_text
