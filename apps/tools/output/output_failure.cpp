#include "output/output_failure.h"

#include "cli/complaint.h"
#include "output/output_reader.h"

ExitCode output_failure(int error) {
    if (has_reader_left(error)) {
        return ExitCode::kDone;
    }
    return complain(ExitCode::kRefused, errno_text("can't write the output", error));
}
