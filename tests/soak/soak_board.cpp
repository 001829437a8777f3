#include "soak_board.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace soak {

namespace {

[[noreturn]] void give_up(const char *what) {
    std::perror(what);
    std::exit(2);
}

/* All its pages at once, so that a process does not grow as it touches them. */
Board *map(int fd) {
    void *place = ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd, 0);
    if (place == MAP_FAILED) {
        give_up("map the board");
    }
    ::close(fd);
    return static_cast<Board *>(place);
}

}  // namespace

Board *make_board(const char *path) {
    const int fd = ::open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0 || ::ftruncate(fd, sizeof(Board)) != 0) {
        give_up(path);
    }
    return map(fd);
}

Board *open_board(const char *path) {
    const int fd = ::open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        give_up(path);
    }
    return map(fd);
}

void complain(Board *board, const char *format, ...) {
    const uint32_t number = board->complaints++;
    if (number < std::size(board->complaint)) {
        va_list args;
        va_start(args, format);
        (void)std::vsnprintf(board->complaint[number], sizeof(board->complaint[number]), format, args);
        va_end(args);
    }
}

bool is_up(uint32_t generation) {
    return generation % 2 == 0;
}

}  // namespace soak
