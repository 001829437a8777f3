#include "output/output_reader.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

bool has_reader_left(int error) {
    struct stat info = {};
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return error == EPIPE || (::fstat(STDOUT_FILENO, &info) == 0 && S_ISFIFO(info.st_mode) &&
                              ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0);
}
