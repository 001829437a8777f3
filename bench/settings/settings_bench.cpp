/*
 * What it costs to read one of 1,000 settings, and how soon a change is told. Prints one JSON object.
 *
 * settings-bench read READS: in a device tree in which the database runs; $QUOR_BENCH_REDIS is the socket of
 * a Redis.
 *
 *   view_get_ns, view_get_missing_ns, view_serial_ns   from the database's shared memory
 *   zndb_get_ns                                         by a request to the database
 *   lmdb_get_ns, lmdb_renewed_get_ns                    LMDB: in one read transaction, and renewed for each
 * read redis_get_ns                                        GET of Redis over a kept connection
 *
 * Each is a mean over reads of all keys in turn, the best of five rounds.
 *
 * settings-bench watch CHANGES: in a device tree in which no database runs.
 *
 *   futex_us    from before a bare futex is changed until a process that waited for it runs
 *   watch_us    from before the shared memory is changed until the handler of a watcher in another process
 * runs
 *
 * Both are medians.
 */
#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "formats/zndb_view_writer.h"
#include "frwk_common.h"
#include "peers/require.h"
#include "support/futex.h"
#include "zndb_ext.h"

#ifdef HAVE_LMDB
#include <lmdb.h>
#endif
#ifdef HAVE_REDIS
#include <hiredis.h>
#endif

namespace {

constexpr int kKeys = 1000;
constexpr int kRounds = 5;

using Clock = std::chrono::steady_clock;

int64_t now_ns() {
    return Clock::now().time_since_epoch().count();
}

std::vector<std::string> make_keys() {
    std::vector<std::string> keys;
    for (int i = 0; i < kKeys; ++i) {
        keys.push_back("bench_setting_" + std::to_string(1000 + i));
    }
    return keys;
}

std::string value_of(int number) {
    return "192.168.100." + std::to_string(number % 256);
}

/* The mean time of a read, in nanoseconds. */
template <typename Read>
double mean_of(int reads, Read read) {
    double best = 1e18;
    for (int round = 0; round < kRounds; ++round) {
        const int64_t begin = now_ns();
        for (int i = 0; i < reads; ++i) {
            read(i % kKeys);
        }
        best = std::min(best, static_cast<double>(now_ns() - begin) / reads);
    }
    return best;
}

double median_of(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

void print(const char *name, double value) {
    static bool first = true;
    (void)std::printf("%s\"%s\": %.1f", first ? "{" : ", ", name, value);
    first = false;
}

// ---- reads ----

void measure_reads(const std::vector<std::string> &keys, int reads) {
    char value[ZNDB_VALUE_LEN];
    const auto key = [&keys](int i) { return keys[static_cast<size_t>(i)].c_str(); };
    print("view_get_ns", mean_of(reads, [&](int i) {
              require(zndb_view_get(key(i), value, sizeof(value)) == 0, "zndb_view_get");
          }));
    require(value == value_of((reads - 1) % kKeys), "the value of zndb_view_get");
    print("view_get_missing_ns", mean_of(reads, [&](int) {
              require(zndb_view_get("bench_no_such_setting", value, sizeof(value)) == E_ZNDB_RET_NOT_FOUND,
                      "zndb_view_get of a missing key");
          }));
    print("view_serial_ns",
          mean_of(reads, [&](int) { require(zndb_view_serial() != 0, "zndb_view_serial"); }));
    print("zndb_get_ns", mean_of(std::max(reads / 500, kKeys), [&](int i) {
              require(zndb_get(key(i), value, sizeof(value)) == 0, "zndb_get");
          }));
}

#ifdef HAVE_LMDB
MDB_val text(const std::string &from) {
    return {from.size(), const_cast<char *>(from.data())};
}

/* A value is copied out, as zndb_view_get does. */
void measure_lmdb(const std::vector<std::string> &keys, int reads) {
    const char folder[] = "/tmp/m_tmp/lmdb";
    std::filesystem::create_directories(folder);
    MDB_env *environment = nullptr;
    MDB_txn *changes = nullptr;
    MDB_dbi database = 0;
    require(mdb_env_create(&environment) == 0 && mdb_env_open(environment, folder, MDB_NOSYNC, 0600) == 0 &&
                mdb_txn_begin(environment, nullptr, 0, &changes) == 0 &&
                mdb_dbi_open(changes, nullptr, 0, &database) == 0,
            "LMDB");
    for (int i = 0; i < kKeys; ++i) {
        const std::string held = value_of(i);
        MDB_val key = text(keys[static_cast<size_t>(i)]);
        MDB_val value = text(held);
        require(mdb_put(changes, database, &key, &value, 0) == 0, "mdb_put");
    }
    require(mdb_txn_commit(changes) == 0, "mdb_txn_commit");

    MDB_txn *reading = nullptr;
    require(mdb_txn_begin(environment, nullptr, MDB_RDONLY, &reading) == 0, "mdb_txn_begin");
    char copy[ZNDB_VALUE_LEN];
    const auto read = [&](int i) {
        MDB_val key = text(keys[static_cast<size_t>(i)]);
        MDB_val value;
        require(mdb_get(reading, database, &key, &value) == 0, "mdb_get");
        std::memcpy(copy, value.mv_data, value.mv_size);
        copy[value.mv_size] = '\0';
    };
    print("lmdb_get_ns", mean_of(reads, read));
    print("lmdb_renewed_get_ns", mean_of(reads, [&](int i) {
              mdb_txn_reset(reading);
              require(mdb_txn_renew(reading) == 0, "mdb_txn_renew");
              read(i);
          }));
    mdb_txn_abort(reading);
    mdb_env_close(environment);
}
#endif

#ifdef HAVE_REDIS
void measure_redis(const std::vector<std::string> &keys, int reads, const char *socket) {
    redisContext *context = redisConnectUnix(socket);
    require(context != nullptr && context->err == 0, "redisConnectUnix");
    for (int i = 0; i < kKeys; ++i) {
        freeReplyObject(
            redisCommand(context, "SET %s %s", keys[static_cast<size_t>(i)].c_str(), value_of(i).c_str()));
    }
    print("redis_get_ns", mean_of(reads, [&](int i) {
              const char *words[] = {"GET", keys[static_cast<size_t>(i)].c_str()};
              const size_t sizes[] = {3, keys[static_cast<size_t>(i)].size()};
              auto *reply = static_cast<redisReply *>(redisCommandArgv(context, 2, words, sizes));
              require(reply != nullptr && reply->type == REDIS_REPLY_STRING, "GET");
              freeReplyObject(reply);
          }));
    redisFree(context);
}
#endif

void measure_all_reads(int reads) {
    const std::vector<std::string> keys = make_keys();
    for (int i = 0; i < kKeys; ++i) {
        require(zndb_set(keys[static_cast<size_t>(i)].c_str(), value_of(i).c_str()) == 0, "zndb_set");
    }
    measure_reads(keys, reads);
#ifdef HAVE_LMDB
    measure_lmdb(keys, reads);
#endif
#ifdef HAVE_REDIS
    if (const char *socket = std::getenv("QUOR_BENCH_REDIS")) {
        measure_redis(keys, std::max(reads / 100, kKeys), socket);
    }
#endif
}

// ---- changes ----

/* What two processes share. */
struct Shared {
    std::atomic<uint32_t> word;
    std::atomic<uint32_t> answered;
    std::atomic<int64_t> woken_ns;
};

Shared *make_shared() {
    void *memory = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(memory != MAP_FAILED, "mmap");
    return new (memory) Shared();
}

void futex(std::atomic<uint32_t> &word, int operation, uint32_t value) {
    (void)::syscall(SYS_futex, &word, operation, value, nullptr, nullptr, 0);
}

/* Time for the other side to fall asleep. */
void let_sleep() {
    ::usleep(300);
}

void wait_for(const std::atomic<uint32_t> &answered, uint32_t number) {
    while (answered.load() != number) {
        ::sched_yield();
    }
}

/* From before the wake-up until the woken process reads the clock. */
void measure_futex(int changes) {
    Shared *shared = make_shared();
    const pid_t child = ::fork();
    if (child == 0) {
        for (uint32_t seen = 0;; ++seen) {
            while (shared->word.load() == seen) {
                futex(shared->word, FUTEX_WAIT, seen);
            }
            shared->woken_ns = now_ns();
            shared->answered = seen + 1;
        }
    }
    std::vector<double> times;
    for (uint32_t i = 1; i <= static_cast<uint32_t>(changes); ++i) {
        let_sleep();
        const int64_t begin = now_ns();
        shared->word = i;
        futex(shared->word, FUTEX_WAKE, INT_MAX);
        wait_for(shared->answered, i);
        times.push_back(static_cast<double>(shared->woken_ns.load() - begin) / 1000);
    }
    (void)::kill(child, SIGKILL);
    (void)::waitpid(child, nullptr, 0);
    print("futex_us", median_of(times));
}

/* A view as the service makes it, without the service: between its change and the handler there is only the
 * watch. */
class OwnView {
  public:
    OwnView() {
        std::filesystem::create_directories("/tmp/m_tmp/zndb");
        const int fd = ::open("/tmp/m_tmp/zndb/view", O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0640);
        const size_t size = view::size_for(kKeys, size_t{kKeys} * 64);
        require(fd >= 0 && ::ftruncate(fd, static_cast<off_t>(size)) == 0, "the view");
        void *memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        require(memory != MAP_FAILED, "mmap");
        writer_ = new view::Writer(memory, size, kKeys, 1, 1);
        int number = 0;
        for (const std::string &key : make_keys()) {
            require(writer_->add(view::Place::kPlain, key, value_of(number++)), "the view's keys");
        }
        writer_->publish();
    }

    void set(const char *key, const std::string &value) {
        writer_->begin();
        if (!writer_->set(StoreId::kPlain, key, value)) {
            require(writer_->compact() && writer_->set(StoreId::kPlain, key, value), "room in the view");
        }
        writer_->end();
        futex_wake_all(writer_->serial_word());
    }

  private:
    view::Writer *writer_;
};

void note(const zndb_change *, void *context) {
    auto *shared = static_cast<Shared *>(context);
    shared->woken_ns = now_ns();
    shared->answered += 1;
}

/* From before the change of the view until the handler reads the clock, in another process. */
void measure_watch(int changes) {
    OwnView view;
    Shared *shared = make_shared();
    const pid_t child = ::fork();
    if (child == 0) {
        zndb_watcher *watcher = nullptr;
        require(zndb_watch("bench_watched", note, shared, &watcher) == 0, "zndb_watch");
        shared->word = 1;
        for (;;) {
            (void)::pause();
        }
    }
    wait_for(shared->word, 1);
    std::vector<double> times;
    for (uint32_t i = 1; i <= static_cast<uint32_t>(changes); ++i) {
        let_sleep();
        const std::string value = std::to_string(i);
        const int64_t begin = now_ns();
        view.set("bench_watched", value);
        wait_for(shared->answered, i);
        times.push_back(static_cast<double>(shared->woken_ns.load() - begin) / 1000);
    }
    (void)::kill(child, SIGKILL);
    (void)::waitpid(child, nullptr, 0);
    print("watch_us", median_of(times));
}

}  // namespace

int main(int argc, char **argv) {
    require(argc == 3, "usage: settings-bench read READS, or settings-bench watch CHANGES");
    const int count = std::atoi(argv[2]);
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
    if (std::string(argv[1]) == "watch") {
        measure_futex(count);
        measure_watch(count);
    } else {
        measure_all_reads(count);
    }
    (void)std::puts("}");
    return 0;
}
