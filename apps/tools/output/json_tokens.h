/*
 * Checks that a text consists of JSON tokens: json-c alone accepts words and numbers that are not JSON.
 */
#pragma once

/* text: of any size and content. False for a text that is larger than the limit for modules. */
bool has_json_tokens(const char *text);
