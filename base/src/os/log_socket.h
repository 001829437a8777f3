/*
 * The connection to the system's log daemon: sends lines in the format of syslog(3) to "/dev/log".
 *
 * Unlike syslog(3), it doesn't block every thread that logs while the daemon is stopped: a line waits at most
 * 100 ms for a daemon that accepts nothing, and the next lines don't wait until it accepts one again. All
 * lines together wait at most a second, and a tenth of the time after that, so that a slow daemon doesn't
 * block them either. Lines that the daemon does not accept are counted, and the count is sent before the next
 * line that it accepts. The socket is created for the first line, and again after a restart of the daemon.
 * Uses no heap memory. One thread at a time.
 */
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <syslog.h>

#include "log_text.h"
#include "wait_budget.h"

class LogSocket {
  public:
    /*
     * Sets the sender's name and facility. The defaults are the program's name and LOG_USER.
     *
     * tag: not copied. facility: as for syslog(3), such as LOG_DAEMON.
     */
    void set_sender(const char *tag, int facility) {
        tag_ = tag;
        facility_ = facility;
    }

    /* Sends a line, or counts it as lost. level: as for syslog(3). */
    void write(int level, const LogText &line);

    /* Sends the count of lost lines, if there is one. Returns false if the daemon does not accept it. */
    bool tell_losses();

  private:
    enum class Sent {
        kWhole,
        kNoRoom,
        kBroken /* the connection must be closed */
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
    dev_t device_ = 0; /* device and inode show whether the descriptor is still this socket */
    ino_t inode_ = 0;
    bool stalled_ = false; /* the last wait for the daemon timed out */
    WaitBudget budget_;

    long losses_ = 0;
    pid_t lost_by_ = 0; /* the process that counted the losses */

    LogText head_; /* temporary, like the next one */
    LogText count_;
};
