#include "output/json_tokens.h"

#include <cstring>

#include "json.h"
#include "json_text.h"

using json_text::Token;

bool has_json_tokens(const char *text) {
    if (::strnlen(text, JSON_TEXT_MAX + 1) > JSON_TEXT_MAX) {
        return false;
    }
    Token token = Token::kPlain;
    for (uint32_t items = 1; items <= JSON_ITEMS_MAX && token != Token::kBad;) {
        token = json_text::skip_token(&text);
        if (token == Token::kEnd) {
            return true;
        }
        items += token == Token::kBeforeItem ? 1 : 0;
    }
    return false;
}
