/*
 * Initialises libsodium on its first use. Only for the files that use libsodium.
 */
#pragma once

/*
 * Returns false, with errno set, if the library can't be used. libsodium would end the process if the kernel
 * provided no random bytes, so this checks the kernel first. Any thread.
 */
bool sodium_ready();
