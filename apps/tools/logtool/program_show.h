/*
 * The course of showing a log that a program prints: the present lines, then perhaps new ones.
 */
#pragma once

#include "cli/user_signals.h"
#include "logtool/log_request.h"

/*
 * Show: constructed with the request; it watches signals, and has the functions present() and follow().
 * Ctrl-C is success only when following.
 */
template <typename Show>
ExitCode show_program(const LogRequest &request) {
    int signal_number = 0;
    ExitCode code = ExitCode::kDone;
    {
        Show show(request);
        code = show.present();
        signal_number = SignalWatch::caught();
        if (code != ExitCode::kDone || !request.output.flush()) {
            return code != ExitCode::kDone ? code : check_output(request.output);
        }
        if (request.options.follow && signal_number == 0) {
            return show.follow();
        }
    }
    end_by_signal(signal_number);
    return code;
}
