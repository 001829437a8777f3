/*
 * The reference of the conversion test: a 32-bit program that answers with what its C library reads from
 * texts. A request is a 32-bit count of bytes and that many bytes of NUL-terminated texts; the answer is one
 * libc_numbers for each text. It ends with its input.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "libc_numbers.h"

/* A device's long has 32 bits: a 64-bit build of this program would be no reference. */
typedef char long_has_32_bits[sizeof(long) == 4 ? 1 : -1];
typedef char record_has_40_bytes[sizeof(struct libc_numbers) == 40 ? 1 : -1];

static char g_texts[REFERENCE_BLOCK_MAX];
static struct libc_numbers g_numbers[REFERENCE_BLOCK_MAX];

static void read_numbers(const char *text, struct libc_numbers *numbers) {
    const double real = strtod(text, NULL);
    const float narrow = (float)real;

    memset(numbers, 0, sizeof(*numbers));
    numbers->of_strtol = strtol(text, NULL, 10);
    numbers->of_strtoul = strtoul(text, NULL, 10);
    numbers->of_strtoll = strtoll(text, NULL, 10);
    numbers->of_strtoull = strtoull(text, NULL, 10);
    memcpy(&numbers->of_strtod, &real, sizeof(real));
    memcpy(&numbers->of_strtod_cast, &narrow, sizeof(narrow));
}

/* Returns the size of the next request, or 0 at the end of the input. */
static uint32_t read_request(void) {
    uint32_t length = 0;
    if (fread(&length, sizeof(length), 1, stdin) != 1) {
        return 0;
    }
    if (length == 0 || length > sizeof(g_texts) || fread(g_texts, length, 1, stdin) != 1) {
        return 0;
    }
    return g_texts[length - 1] == '\0' ? length : 0;
}

int main(void) {
    for (uint32_t length = read_request(); length != 0; length = read_request()) {
        size_t count = 0;
        for (const char *text = g_texts; text < g_texts + length; text += strlen(text) + 1) {
            read_numbers(text, &g_numbers[count++]);
        }
        if (fwrite(g_numbers, sizeof(g_numbers[0]), count, stdout) != count || fflush(stdout) != 0) {
            return 1;
        }
    }
    return 0;
}
