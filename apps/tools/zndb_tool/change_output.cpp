#include "zndb_tool/change_output.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "output/output_failure.h"
#include "output/terminal.h"

namespace {

const char *word_of(zndb_change_kind kind) {
    switch (kind) {
        case ZNDB_CHANGE_SET:
            return "set";
        case ZNDB_CHANGE_DELETED:
            return "deleted";
        case ZNDB_CHANGE_RESET:
            return "reset";
        default:
            return "resync";
    }
}

/* A reset and a resync concern no key. */
std::string line_of(const zndb_change &change) {
    std::string line = change.store == ZNDB_STORE_PERM ? "perm " : "plain ";
    line += word_of(change.kind);
    if (change.key[0] != '\0') {
        line += ' ' + styled(Stream::kOutput, Style::kStrong, shown_text(Stream::kOutput, change.key));
    }
    return change.value != nullptr ? line + '=' + shown_text(Stream::kOutput, change.value) : line;
}

}  // namespace

ChangeOutput::ChangeOutput() : wake_(::eventfd(0, EFD_CLOEXEC)) {}

ChangeOutput::~ChangeOutput() {
    (void)::close(wake_);
}

void ChangeOutput::print(const zndb_change *change, void *output) {
    auto *self = static_cast<ChangeOutput *>(output);
    const std::lock_guard<std::mutex> lock(self->mutex_);
    if (self->error_ != 0) {
        return;
    }
    (void)std::printf("%s\n", line_of(*change).c_str());
    if (std::fflush(stdout) != 0) {
        self->error_ = errno;
        (void)::eventfd_write(self->wake_, 1);
    }
}

ExitCode ChangeOutput::wait(const SignalWatch &watch) {
    while (error() == 0 && SignalWatch::caught() == 0) {
        (void)watch.wait(wake_, -1);
    }
    return error() != 0 ? output_failure(error()) : ExitCode::kDone;
}

int ChangeOutput::error() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return error_;
}
