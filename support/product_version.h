/*
 * The version of the product, for --version.
 */
#pragma once

/* "1.0.0", as the build names it. */
const char *product_version();
