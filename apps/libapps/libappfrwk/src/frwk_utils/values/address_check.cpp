/*
 * Checks host names, before they are passed to a shell, and address ranges. Pure functions; any thread.
 */
#include <arpa/inet.h>

#include <array>
#include <cstring>

#include "frwk_utils.h"
#include "internal/frwk_log.h"

namespace {

constexpr char kDomainCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.[]:";

/* An address in network order, so that comparing bytes compares addresses. */
template <size_t kSize>
using Address = std::array<unsigned char, kSize>;

/* An invalid address becomes the all-zero address. */
template <size_t kSize>
Address<kSize> address_of(int family, const char *text) {
    Address<kSize> address{};
    if (text == nullptr || inet_pton(family, text, address.data()) != 1) {
        address.fill(0);
    }
    return address;
}

}  // namespace

uint32_t frwk_domain_check(const char *text) {
    if (text == nullptr || text[0] == '\0') {
        FRWK_WARN(__func__, "domain is empty!");
        return 0;
    }
    if (text[std::strspn(text, kDomainCharacters)] != '\0') {
        FRWK_WARN(__func__, "invalid domain value=%s", text);
        return 0;
    }
    return 1;
}

uint32_t frwk_check_ipv4_addr_range_valid(const char *start, const char *end) {
    if (address_of<sizeof(in_addr)>(AF_INET, start) > address_of<sizeof(in_addr)>(AF_INET, end)) {
        FRWK_WARN(__func__, "ipv4 start ip is big than end ip ");
        return 0;
    }
    return 1;
}

uint32_t frwk_check_ipv6_addr_range_valid(const char *start, const char *end) {
    if (address_of<sizeof(in6_addr)>(AF_INET6, start) > address_of<sizeof(in6_addr)>(AF_INET6, end)) {
        FRWK_WARN(__func__, "ipv6 start ip is big than end ip ");
        return 0;
    }
    return 1;
}
