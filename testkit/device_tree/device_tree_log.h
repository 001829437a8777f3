// The system log of the private tree: a socket for its programs, and the file that logtool shows.
#ifndef QUOR_DEVICE_TREE_LOG_H
#define QUOR_DEVICE_TREE_LOG_H

#include <string>

#include "support/unique_fd.h"

namespace device_tree {

// Receives the log messages of the tree's programs and writes them to the file, as a device's log daemon
// does.
class TreeLog {
  public:
    // Makes the socket and the file, which every user of the tree may write to and read. Refuses on failure.
    // print: whether each line also goes to standard error.
    explicit TreeLog(bool print);

    // For poll(2): readable when there are messages.
    int fd() const { return socket_.get(); }

    // Writes the received messages to the file; never blocks.
    void take_messages();

  private:
    void keep(const std::string &line);

    const bool print_;
    std::string host_;
    UniqueFd socket_;
    UniqueFd file_;
};

// The line of the file for a message in the format of syslog(3), with a line feed:
//
//   <188>Nov  5 07:02:09 wlan[17]: TEXT          Nov  5 07:02:09 HOST local7.warn wlan[17]: TEXT
//
// A missing time is added. The ASCII control characters below the blank become blanks; other characters that
// control a terminal, marks that change the direction of the text, and bytes that are not UTF-8 are escaped.
std::string log_file_line(const std::string &message, const std::string &host);

}  // namespace device_tree

#endif
