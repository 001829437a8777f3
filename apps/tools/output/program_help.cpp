#include "output/program_help.h"

#include <algorithm>

#include "output/terminal.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kWidest = 100;
constexpr size_t kNameColumns = 24;

}  // namespace

std::string program_help(const std::string &usage, const std::string &purpose,
                         const std::vector<OptionHelp> &options, const std::string &notes) {
    const size_t width = std::min(columns_of(Stream::kOutput), kWidest);
    std::string text = wrapped(usage, width, 0) + wrapped(purpose, width, 0) + "\n";
    for (const OptionHelp &option : options) {
        text += wrapped_pair(option.name, option.meaning, width, kNameColumns);
    }
    return text + "\n" + wrapped(notes, width, 0);
}
