/*
 * Logs from a file in a folder, with whatever the compiler has to name it.
 */
#include "os_log.h"

int main(void) {
    os_log_init("router", 0);
    OS_LOG(OS_LOG_WARNING, "a line");
    OS_LOG_ASSERT(1 > 2, "1 > 2", "");
    return 0;
}
