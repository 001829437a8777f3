#include "logtool/ring_show.h"

#include <optional>

#include "cli/complaint.h"
#include "log/program_reader.h"
#include "logtool/log_places.h"
#include "logtool/program_show.h"
#include "logtool/ring_overlap.h"
#include "support/log_line.h"

namespace {

class RingShow {
  public:
    /* The follower is started first, so that it misses no line. */
    explicit RingShow(const LogRequest &request)
        : output_(request.output), missing_(missing_files(request.options)) {
        if (request.options.follow) {
            follower_.emplace(std::vector<std::string>{kRingProgram, "-f"});
        }
    }

    ExitCode present() {
        ProgramReader reader({kRingProgram});
        if (!reader.problem().empty()) {
            return complain(ExitCode::kRefused, reader.problem() + missing_);
        }
        reader.read(watch_, [this](const std::string &line) {
            if (follower_) {
                overlap_.add(line);
            }
            return output_.take(parse_log_line(line));
        });
        return ended() ? check_output(output_) : report(reader.end());
    }

    /* Until Ctrl-C. */
    ExitCode follow() {
        const bool started = follower_->problem().empty();
        if (started) {
            follower_->read(watch_, [this](const std::string &line) {
                return overlap_.repeats(line) || output_.take(parse_log_line(line));
            });
        }
        return ended() ? check_output(output_) : report(started ? follower_->end() : follower_->problem());
    }

  private:
    bool ended() const { return SignalWatch::caught() != 0 || output_.error() != 0; }

    ExitCode report(const std::string &problem) const {
        return problem.empty() ? ExitCode::kDone : complain(ExitCode::kRefused, problem + missing_);
    }

    LogOutput &output_;
    const std::string missing_;
    const SignalWatch watch_;
    RingOverlap overlap_;
    std::optional<ProgramReader> follower_;
};

}  // namespace

ExitCode show_ring(const LogRequest &request) {
    return show_program<RingShow>(request);
}
