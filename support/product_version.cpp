#include "support/product_version.h"

const char *product_version() {
    return QUOR_VERSION;
}
