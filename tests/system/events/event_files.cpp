#include "event_files.h"

#include <sys/stat.h>

#include <cstdlib>
#include <sstream>

#include "support/wait_until.h"

EventFiles::EventFiles() {
    EXPECT_EQ(0, std::system("rm -rf /m_data/usr/subscribe /m_webui/subscribe /tmp/m_tmp/lock"));
    EXPECT_EQ(0, ::mkdir("/m_data/usr/subscribe", 0755));
}

std::vector<std::string> subscribers() {
    const std::string text = file_text(kEventFile);
    EXPECT_TRUE(text.empty() || text.back() == '\n') << text;
    std::istringstream lines(text);
    std::vector<std::string> names;
    for (std::string name; std::getline(lines, name);) {
        names.push_back(name);
    }
    return names;
}
