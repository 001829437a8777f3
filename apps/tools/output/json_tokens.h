/*
 * Whether a text is made of what JSON knows: json-c alone takes words and numbers that JSON has not.
 */
#pragma once

/* text: may be of any size and hold any bytes. One that is larger than what a module reads as JSON is none
 * here. */
bool has_json_tokens(const char *text);
