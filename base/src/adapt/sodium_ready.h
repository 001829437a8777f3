/*
 * libsodium, made ready on its first use. For the adapters of that library only.
 */
#pragma once

/*
 * Returns false when the library can't be used, with the cause in errno. It would end the process where the
 * kernel has no random bytes, so the kernel is asked first. Any thread; a lock lets one go first.
 */
bool sodium_ready();
