#include "logtool/log_request.h"

#include "output/output_failure.h"

ExitCode check_output(const LogOutput &output) {
    return output.error() == 0 ? ExitCode::kDone : output_failure(output.error());
}
