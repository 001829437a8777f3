/*
 * The way to the system's log daemon: lines in the form in which syslog(3) sends them, to "/dev/log".
 *
 * Unlike syslog(3), it never waits for a daemon that is stopped: that would hold up every thread that logs.
 * What the daemon does not take is counted, and the count is sent before the next line that it takes. The
 * socket is made for the first line, and anew when the daemon was started anew. Nothing here takes memory.
 * One thread at a time.
 */
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <syslog.h>

#include "log_line.h"

class LogSocket {
  public:
    /*
     * Says who sends. Until then it is the program, under its own name and as a user's.
     *
     * tag: shared with the caller. facility: of syslog(3), such as LOG_DAEMON.
     */
    void set_sender(const char *tag, int facility) {
        tag_ = tag;
        facility_ = facility;
    }

    /* Sends a line, or counts it. level: of syslog(3). */
    void write(int level, const LogText &line);

    /* Sends the count, if there is one. Returns false when the daemon does not take it either. */
    bool tell_losses();

  private:
    enum class Sent {
        kWhole,
        kNoRoom,
        kBroken /* the connection is of no use any more */
    };

    bool is_open();
    bool open();
    bool open(int type);
    void close();

    void begin_line(int level);
    Sent send(const LogText &line) const;
    bool wait_for_room();
    bool deliver(int level, const LogText &line);
    void count_loss();

    const char *tag_ = nullptr;
    int facility_ = LOG_USER;

    int fd_ = -1;
    int type_ = 0;
    dev_t device_ = 0; /* these two tell the socket from a file that took its descriptor */
    ino_t inode_ = 0;
    bool stalled_ = false; /* the daemon took nothing for as long as one waits for it */

    long losses_ = 0;
    pid_t lost_by_ = 0; /* the process that counted them */

    LogText head_; /* scratch, as the next one */
    LogText count_;
};
