/*
 * Checks of addresses and host names, and escaping. The calls may be made from any thread.
 */
#ifndef QUOR_FRWK_UTILS_H
#define QUOR_FRWK_UTILS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Tells whether a text can be a host name or an address: not empty, and made of letters, digits and
 * "_-.[]:" only.
 *
 * Returns 1 or 0. text: null is empty.
 */
uint32_t frwk_domain_check(const char *text);

/*
 * Copies a text with a backslash before every special character. No terminator is written.
 *
 * specials: the characters to escape.
 * dst: zeroed by the caller, and one byte larger than size, since the last escape may pass it.
 * size: bytes; 0 or below copies nothing, as does a null or empty src.
 */
void frwk_utils_special_char_transform(const char *src, const char *specials, char *dst, int32_t size);

/*
 * Tells whether an IPv4 range is ordered. A text that is no address counts as 0.0.0.0.
 *
 * Returns 1 when start is not above end, else 0.
 */
uint32_t frwk_check_ipv4_addr_range_valid(const char *start, const char *end);

/* The same for IPv6; a text that is no address counts as ::. */
uint32_t frwk_check_ipv6_addr_range_valid(const char *start, const char *end);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
