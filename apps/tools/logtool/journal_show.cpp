#include "logtool/journal_show.h"

#include "cli/complaint.h"
#include "log/journal_command.h"
#include "log/journal_line.h"
#include "log/program_reader.h"
#include "logtool/log_places.h"
#include "logtool/program_show.h"

namespace {

/* Only what the journal selects exactly as the tool does. */
JournalQuery query_of(const LogRequest &request) {
    const LogFilter &filter = request.filter;
    const bool counts = filter.level == kNoLevel && filter.text.empty() && filter.programs.empty();
    JournalQuery query;
    query.modules = filter.modules;
    query.programs = filter.programs;
    query.period = request.period;
    query.last = counts ? request.last : 0;
    return query;
}

/* The journal doesn't mark the end of the old lines, so a second run starts after the last line of the first.
 */
class JournalShow {
  public:
    explicit JournalShow(const LogRequest &request)
        : query_(query_of(request)), output_(request.output), missing_(missing_files(request.options)) {}

    ExitCode present() { return run(); }

    ExitCode follow() {
        query_.follow = true;
        query_.last = 0;
        return run();
    }

  private:
    ExitCode run() {
        ProgramReader reader(journal_command(query_));
        if (!reader.problem().empty()) {
            return complain(ExitCode::kRefused, reader.problem() + missing_);
        }
        reader.read(watch_, [this](const std::string &line) {
            return output_.take(parse_journal_line(line, &query_.cursor));
        });
        if (SignalWatch::caught() != 0 || output_.error() != 0) {
            return check_output(output_);
        }
        const std::string problem = reader.end();
        return problem.empty() ? ExitCode::kDone : complain(ExitCode::kRefused, problem + missing_);
    }

    JournalQuery query_;
    LogOutput &output_;
    const std::string missing_; /* which log files don't exist, for a journal that can't be read either */
    const SignalWatch watch_;
};

}  // namespace

ExitCode show_journal(const LogRequest &request) {
    return show_program<JournalShow>(request);
}
