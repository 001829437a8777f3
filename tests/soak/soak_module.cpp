/*
 * A module of a soak: soak-module BOARD ID GENERATION. It serves and takes one step after another until its
 * quota is done, then only serves. It is started, paused and killed by the program soak.
 */
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "soak_traffic.h"

namespace {

constexpr unsigned long kPageSize = 4096;
constexpr useconds_t kPauseMicroseconds = 2000;

/* The second look at the word keeps a step from beginning after the pause was seen to be on. */
void wait_while_paused(soak::Board &board, soak::Word &idle) {
    do {
        while (board.paused != 0) {
            idle = 1;
            ::usleep(kPauseMicroseconds);
        }
        idle = 0;
    } while (board.paused != 0);
}

/* Reads every page of the program and its libraries, so that none is still to come when memory is watched. */
void load_program() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char readable = '-';
        const bool is_file = line.find(" /") != std::string::npos;
        if (is_file && std::sscanf(line.c_str(), "%lx-%lx %c", &begin, &end, &readable) == 3 &&
            readable == 'r') {
            for (unsigned long at = begin; at < end; at += kPageSize) {
                (void)*reinterpret_cast<volatile const char *>(at);
            }
        }
    }
}

void be_done(soak::Word &idle) {
    idle = 1;
    frwk_keep_running();
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        (void)std::fprintf(stderr, "usage: soak-module BOARD ID GENERATION\n");
        return 2;
    }
    soak::Board *board = soak::open_board(argv[1]);
    const auto id = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10));
    const auto generation = static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10));

    soak::set_place(board, id, generation);
    frwk_module_init(static_cast<int32_t>(id), nullptr);
    frwk_ipc_service_ex(soak::handle, 0);
    soak::reserve_memory();
    load_program();
    soak::subscribe_steady();
    soak::Module &module = board->modules[id];
    module.serving = generation;

    do {
        wait_while_paused(*board, module.idle);
    } while (soak::take_step());
    be_done(module.idle);
}
