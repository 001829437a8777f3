#include "logtool/file_show.h"

#include "cli/complaint.h"
#include "log/log_file.h"
#include "support/log_line.h"

namespace {

ExitCode follow_file(LogFile &file, const LogOutput &output, const LineTaker &take) {
    const SignalWatch watch;
    while (SignalWatch::caught() == 0 && output.error() == 0) {
        const std::string problem = file.read_more(watch, take);
        if (!problem.empty()) {
            return complain(ExitCode::kRefused, problem);
        }
    }
    return check_output(output);
}

}  // namespace

/* A file that the user has named and that can't be read is wrong usage. */
ExitCode show_file(const LogRequest &request, const std::string &path) {
    LogOutput &output = request.output;
    const LineTaker take = [&](const std::string &line) { return output.take(parse_log_line(line)); };
    LogFile file(path);
    const std::string problem = file.read(take);
    if (!problem.empty()) {
        return complain(request.options.file.empty() ? ExitCode::kRefused : ExitCode::kUsage, problem);
    }
    if (!request.options.follow) {
        file.read_rest(take);
    }
    (void)output.flush();
    return request.options.follow ? follow_file(file, output, take) : check_output(output);
}
