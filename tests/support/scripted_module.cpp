/*
 * A module on the public interface that carries out a test's commands.
 *
 *     scripted-module --id ID [--record FILE] [--unregistered] [--no-exit-handler]
 *
 * It starts as module ID, registers its handler unless an option says otherwise, and prints "started". Then
 * it reads one command per line from its standard input, carries it out and prints one line of reply. At the
 * end of the input it parks permanently. See kCommands for the commands and handle() for the messages that it
 * answers.
 *
 * A body is written "-" (none), "text:WORD", "int:NUMBER" (four bytes) or "zeros:LENGTH".
 *
 * Each message that its handlers receive is a line of the record file: "SOURCE MESSAGE LENGTH BODY" with the
 * first bytes of the body in hexadecimal, or "exit MESSAGE".
 */
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "frwk_common.h"
#include "frwk_diag.h"
#include "frwk_utils.h"

namespace {

/* The handler's action for each message; any other message is answered with 0. */
enum Script {
    kEcho = 40000,   /* gives the body back */
    kReturn = 40001, /* returns the number in the body */
    kSleep = 40002,  /* sleeps the milliseconds in the body */
    kFill = 40003,   /* fills the answer with 0xA5 */
};

constexpr size_t kShownBytes = 32;
constexpr int32_t kUntouched = -99999;

int g_record = -1;

std::string hex(const void *data, size_t size) {
    const auto *bytes = static_cast<const unsigned char *>(data);
    std::string text;
    for (size_t i = 0; i < std::min(size, kShownBytes); ++i) {
        char digits[3];
        (void)std::snprintf(digits, sizeof(digits), "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

/* One write a line, so that lines of several threads don't mix. */
void record(const std::string &line) {
    const std::string whole = line + "\n";
    if (g_record >= 0 && ::write(g_record, whole.data(), whole.size()) < 0) {
        std::perror("record");
    }
}

int32_t number_in(const void *data, int32_t data_len) {
    int32_t number = 0;
    if (data_len >= static_cast<int32_t>(sizeof(number))) {
        std::memcpy(&number, data, sizeof(number));
    }
    return number;
}

apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                       void *rsp, uint32_t rsp_size, uint32_t) {
    const size_t body_size = data != nullptr ? static_cast<size_t>(std::max(data_len, 0)) : 0;
    record(std::to_string(src) + " " + std::to_string(msgid) + " " + std::to_string(data_len) + " " +
           (body_size > 0 ? hex(data, body_size) : "-"));
    switch (msgid) {
        case kEcho:
            if (rsp != nullptr && body_size > 0) {
                std::memcpy(rsp, data, std::min<size_t>(body_size, rsp_size));
            }
            return E_APPS_ERR_SUCCESS;
        case kReturn:
            return number_in(data, data_len);
        case kSleep:
            frwk_sleep(static_cast<uint32_t>(number_in(data, data_len)));
            return E_APPS_ERR_SUCCESS;
        case kFill:
            if (rsp != nullptr) {
                std::memset(rsp, 0xA5, rsp_size);
            }
            return E_APPS_ERR_SUCCESS;
        default:
            return E_APPS_ERR_SUCCESS;
    }
}

void on_exit_message(apps_message_id_e_type msgid) {
    record("exit " + std::to_string(msgid));
}

/* A body as a command writes it. */
std::string body_of(const std::string &word) {
    const std::string kind = word.substr(0, word.find(':'));
    std::string value = word.substr(std::min(word.find(':') + 1, word.size()));
    if (kind == "text") {
        return value;
    }
    if (kind == "zeros") {
        return std::string(std::strtoul(value.c_str(), nullptr, 10), '\0');
    }
    if (kind == "int") {
        const auto number = static_cast<int32_t>(std::strtol(value.c_str(), nullptr, 10));
        return {reinterpret_cast<const char *>(&number), sizeof(number)};
    }
    return "";
}

const void *data_of(const std::string &body) {
    return body.empty() ? nullptr : body.data();
}

uint32_t length_of(const std::string &body) {
    return static_cast<uint32_t>(body.size());
}

/* The words of a command. Those that are missing read as 0 and "". */
class Words {
  public:
    explicit Words(const std::string &line) {
        std::istringstream text(line);
        for (std::string word; text >> word;) {
            words_.push_back(word);
        }
    }

    std::string text(size_t index) const { return index < words_.size() ? words_[index] : ""; }
    int32_t number(size_t index) const {
        return static_cast<int32_t>(std::strtoll(text(index).c_str(), nullptr, 0));
    }
    uint32_t count(size_t index) const { return static_cast<uint32_t>(number(index)); }

  private:
    std::vector<std::string> words_;
};

std::string returned(int32_t value) {
    return "ret=" + std::to_string(value);
}

std::string register_handler(const Words &) {
    frwk_ipc_service_ex(handle, 0);
    return "registered";
}

std::string send_sync(const Words &words) {
    const std::string body = body_of(words.text(5));
    std::vector<unsigned char> rsp(words.count(4));
    int32_t result = kUntouched;
    const apps_err_e_type ret =
        frwk_ipc_send_sync(words.count(1), words.number(2), data_of(body), length_of(body),
                           rsp.empty() ? nullptr : rsp.data(), words.count(4), words.count(3), &result);
    return returned(ret) + (result != kUntouched ? " result=" + std::to_string(result) : "") +
           (rsp.empty() ? "" : " rsp=" + hex(rsp.data(), rsp.size()));
}

std::string send_async(const Words &words) {
    const std::string body = body_of(words.text(4));
    return returned(
        frwk_ipc_send_async(words.count(1), words.number(2), data_of(body), length_of(body), words.count(3)));
}

std::string send_burst(const Words &words) {
    uint32_t delivered = 0;
    for (uint32_t i = 0; i < words.count(4); ++i) {
        const apps_err_e_type ret =
            frwk_ipc_send_async(words.count(1), words.number(2), &i, sizeof(i), words.count(3));
        delivered += ret == E_APPS_ERR_ASYNC ? 1 : 0;
    }
    return "delivered=" + std::to_string(delivered);
}

std::string broadcast(const Words &words) {
    const std::string body = body_of(words.text(2));
    frwk_ipc_msg_broadcast(words.number(1), data_of(body), length_of(body));
    return "done";
}

std::string ask_status(const Words &words) {
    return "status=" + std::to_string(frwk_get_module_status(words.count(1)));
}

std::string set_status(const Words &words) {
    frwk_set_module_status(words.count(1));
    return "done";
}

std::string reboot(const Words &words) {
    return returned(frwk_system_reboot(words.count(1)));
}

std::string reset(const Words &words) {
    return returned(frwk_system_reset(words.count(1)));
}

std::string shut_down(const Words &words) {
    return returned(frwk_system_shutdown(words.count(1)));
}

std::string enable(const Words &words) {
    return returned(frwk_module_enable(words.number(1)));
}

std::string disable(const Words &words) {
    return returned(frwk_module_disable(words.number(1)));
}

std::string adapt_to_sim(const Words &words) {
    frwk_sim_subnet_handle(words.number(1));
    return "done";
}

std::string apply_product(const Words &words) {
    return returned(frwk_specify_path_db_adapt(words.text(1).c_str()));
}

std::string find_id(const Words &words) {
    return "id=" + std::to_string(frwk_module_id(words.text(1).c_str()));
}

/* A row of the module table: "NAME ALIAS FLAG DELAY FACILITY CMD". */
std::string show_row(const Words &words) {
    const frwk_module_info &row = g_modules_info[words.count(1) % FRWK_MODULE_ROWS];
    char numbers[64];
    (void)std::snprintf(numbers, sizeof(numbers), " 0x%04x %d %u ", row.flag, row.delay, row.facility);
    const auto shown = [](const char *text) { return std::string(text != nullptr ? text : "null"); };
    return shown(row.name) + " " + shown(row.alias) + numbers + shown(row.cmd);
}

/* The ids of the modules that the start-up list names. */
std::string show_run(const Words &) {
    std::string ids = "run:";
    for (int32_t id = 0; id < FRWK_MODULE_ROWS; ++id) {
        if ((g_modules_info[id].flag & FRWK_FLAG_RUN) != 0) {
            ids += " " + std::to_string(id);
        }
    }
    return ids;
}

/* The key of an event; "-" means the empty key. */
std::string event_of(const Words &words) {
    return words.text(1) == "-" ? "" : words.text(1);
}

std::string subscribe(const Words &words) {
    return returned(frwk_ipc_msg_sub(event_of(words).c_str()));
}

std::string unsubscribe(const Words &words) {
    return returned(frwk_ipc_msg_unsub(event_of(words).c_str()));
}

std::string publish(const Words &words) {
    const std::string body = body_of(words.text(3));
    frwk_ipc_msg_pub(event_of(words).c_str(), words.number(2), data_of(body), length_of(body));
    return "done";
}

std::string publish_burst(const Words &words) {
    for (uint32_t i = 0; i < words.count(3); ++i) {
        frwk_ipc_msg_pub(event_of(words).c_str(), words.number(2), &i, sizeof(i));
    }
    return "done";
}

/* Subscribes and unsubscribes at random. Returns how many calls failed, and whether the last subscribed. */
std::string churn(const Words &words) {
    const std::string event = event_of(words);
    std::mt19937 random(words.count(3));
    uint32_t failed = 0;
    bool listed = false;
    for (uint32_t i = 0; i < words.count(2); ++i) {
        listed = random() % 2 == 0;
        failed += (listed ? frwk_ipc_msg_sub(event.c_str()) : frwk_ipc_msg_unsub(event.c_str())) != 0 ? 1 : 0;
    }
    return "failed=" + std::to_string(failed) + " listed=" + std::to_string(listed ? 1 : 0);
}

std::string churn_in_threads(const Words &words) {
    std::vector<std::thread> threads;
    std::atomic<uint32_t> failed{0};
    for (uint32_t i = 0; i < words.count(4); ++i) {
        threads.emplace_back([&words, &failed] { failed += churn(words).find("failed=0") == 0 ? 0 : 1; });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    return "failed=" + std::to_string(failed);
}

std::string change_language(const Words &words) {
    return returned(frwk_language_change(words.text(1).c_str()));
}

std::string agree_language(const Words &words) {
    return returned(frwk_user_agreement_language_change(words.text(1).c_str()));
}

std::string ping(const Words &words) {
    frwk_diag_req req = {};
    req.ping.count = 1;
    (void)std::snprintf(req.ping.target, sizeof(req.ping.target), "%s", words.text(1).c_str());
    frwk_diag_ctx context;
    (void)frwk_diag_init(&context);
    const int32_t result = frwk_diag_exec(FRWK_DIAG_TYPE_PING, &req, &context);
    frwk_diag_free(&context);
    return returned(result);
}

struct Command {
    const char *name;
    std::string (*act)(const Words &words);
};

constexpr Command kCommands[] = {
    {"register", register_handler}, /* register */
    {"sync", send_sync},            /* sync MODULE MESSAGE LIMIT ANSWER-SIZE BODY */
    {"async", send_async},          /* async MODULE MESSAGE LIMIT BODY */
    {"burst", send_burst},          /* burst MODULE MESSAGE LIMIT COUNT */
    {"broadcast", broadcast},       /* broadcast MESSAGE BODY */
    {"status", ask_status},         /* status MODULE */
    {"set-status", set_status},     /* set-status NUMBER */
    {"reboot", reboot},             /* reboot REASON */
    {"reset", reset},               /* reset REASON */
    {"shutdown", shut_down},        /* shutdown REASON */
    {"enable", enable},             /* enable MODULE */
    {"disable", disable},           /* disable MODULE */
    {"adapt", adapt_to_sim},        /* adapt TYPE */
    {"product", apply_product},     /* product PATH */
    {"id", find_id},                /* id NAME */
    {"row", show_row},              /* row INDEX */
    {"run", show_run},              /* run */
    {"sub", subscribe},             /* sub EVENT */
    {"unsub", unsubscribe},         /* unsub EVENT */
    {"pub", publish},               /* pub EVENT MESSAGE BODY */
    {"pub-burst", publish_burst},   /* pub-burst EVENT MESSAGE COUNT */
    {"churn", churn},               /* churn EVENT COUNT SEED */
    {"threads", churn_in_threads},  /* threads EVENT COUNT SEED THREADS */
    {"language", change_language},  /* language LANGUAGE */
    {"agreement", agree_language},  /* agreement LANGUAGE */
    {"ping", ping},                 /* ping TARGET */
};

std::string carry_out(const std::string &line) {
    const Words words(line);
    for (const Command &command : kCommands) {
        if (words.text(0) == command.name) {
            return command.act(words);
        }
    }
    return "unknown command";
}

bool read_line(std::string *line) {
    line->clear();
    char next = 0;
    while (::read(STDIN_FILENO, &next, 1) == 1) {
        if (next == '\n') {
            return true;
        }
        *line += next;
    }
    return false;
}

void print_line(const std::string &line) {
    const std::string whole = line + "\n";
    if (::write(STDOUT_FILENO, whole.data(), whole.size()) < 0) {
        std::perror("reply");
    }
}

}  // namespace

int main(int argc, char **argv) {
    int32_t id = -1;
    bool registered = true;
    frwk_exit_handler_t exit_handler = on_exit_message;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const bool has_value = i + 1 < argc;
        if (option == "--id" && has_value) {
            id = static_cast<int32_t>(std::strtol(argv[++i], nullptr, 10));
        } else if (option == "--record" && has_value) {
            g_record = ::open(argv[++i], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        } else if (option == "--unregistered") {
            registered = false;
        } else if (option == "--no-exit-handler") {
            exit_handler = nullptr;
        }
    }

#ifdef QUOR_COVERAGE
    (void)std::signal(SIGTERM, [](int) { std::exit(0); }); /* with the counters written */
#endif
    frwk_module_init(id, exit_handler);
    if (registered) {
        frwk_ipc_service_ex(handle, 0);
    }
    print_line("started");

    for (std::string line; read_line(&line);) {
        print_line(carry_out(line));
    }
    frwk_keep_running();
}
