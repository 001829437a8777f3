#include "model/trial.h"

#include <chrono>
#include <iostream>
#include <memory>
#include <sstream>

#include "formats/device_paths.h"
#include "model/client.h"
#include "model/damage.h"
#include "model/reference_model.h"
#include "model/run_plan.h"
#include "model/service_on_trial.h"
#include "support/wait_until.h"

namespace model {

namespace {

using Clock = std::chrono::steady_clock;
using Complaint = std::optional<std::string>;

/* A request waits 3 s for its answer; on a busy machine it may wait in vain. */
constexpr std::chrono::milliseconds kRequestLimit{2900};

constexpr uint32_t kExit = 1;

class Trial {
  public:
    Trial(const std::vector<Operation> &operations, const TrialOptions &options)
        : operations_(operations),
          options_(options),
          service_(options.service, options.shows_log || options.shows_steps),
          model_(default_values()) {
        for (uint32_t id = 0; id < kClients; ++id) {
            clients_.push_back(std::make_unique<Client>(id, operations));
        }
    }

    std::optional<Broken> run() {
        Complaint complaint = start();
        for (size_t i = 0; i < operations_.size() && !complaint; ++i) {
            number_ = static_cast<uint32_t>(i);
            complaint = carry_out(operations_[i]);
        }
        if (!complaint) {
            complaint = audit();
        }
        if (!complaint) {
            return std::nullopt;
        }
        if (options_.shows_log) {
            std::cout << service_.log();
        }
        return Broken{number_, *complaint};
    }

  private:
    using Act = Complaint (Trial::*)(const Operation &operation);

    struct Row {
        Kind kind;
        Act act;
    };

    static const Row kRows[];

    Complaint carry_out(const Operation &operation) {
        for (const Row *row = kRows; row->act != nullptr; ++row) {
            if (row->kind == operation.kind) {
                if (options_.shows_steps) {
                    std::cout << "  " << number_ << " " << describe(operation) << "\n";
                }
                return (this->*row->act)(operation);
            }
        }
        return ask(operation);
    }

    Complaint judge(const Operation &operation, const Outcome &outcome) {
        if (options_.shows_steps) {
            std::cout << "  " << number_ << " " << describe(operation) << "\n      gave " << describe(outcome)
                      << std::endl;
        }
        const Complaint allowed = model_.take(operation, outcome);
        return allowed ? Complaint(describe(outcome) + *allowed) : std::nullopt;
    }

    /* What a client asks for. */
    Complaint ask(const Operation &operation) {
        service_.trouble(operation.trouble);
        const Clock::time_point begin = Clock::now();
        Outcome outcome = clients_[operation.client]->ask(number_);
        return settle(operation, outcome, Clock::now() - begin);
    }

    /* Judges the outcome of requests, and starts the service again if it has ended itself. */
    Complaint settle(const Operation &operation, Outcome outcome, Clock::duration taken) {
        outcome.disturbed = service_.end_trouble() || taken > kRequestLimit;
        if (outcome.result == kNoAnswer && !outcome.disturbed) {
            return "no answer";
        }
        Complaint complaint = judge(operation, outcome);
        if (service_.died()) {
            (void)service_.wait_for_end();
        }
        if (!complaint && model_.is_uncertain()) {
            complaint = look_at_disks();
        }
        if (!complaint && service_.died()) {
            service_.refuse(0, 0);
            complaint = start();
        }
        return complaint;
    }

    Complaint start() {
        service_.start();
        if (clients_[0]->ask(kWaitUntilServed).result != 0) {
            return "the service does not start";
        }
        return audit();
    }

    Complaint audit() {
        const Outcome listed = clients_[0]->ask(kListAll);
        const Complaint allowed = listed.result == 0 ? model_.take_lists(listed.words) : Complaint("");
        return allowed ? Complaint("the stores have " + describe(listed) + *allowed) : std::nullopt;
    }

    /* What a power cut would leave, where that does not depend on what was not synced. */
    Complaint look_at_disks() {
        constexpr const char *kFiles[] = {paths::kPlainFile, paths::kPermFile, paths::kFactoryFile};
        for (const Store store : kStores) {
            const std::string path = kFiles[static_cast<size_t>(store)];
            const std::optional<std::string> text = settled_text(path);
            const Complaint complaint = text ? model_.take_disk(store, values_in(*text)) : std::nullopt;
            if (complaint) {
                return path + ": " + *complaint + "\n" + *text;
            }
        }
        return std::nullopt;
    }

    static Values values_in(const std::string &text) {
        Values values;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            if (line[0] != '#') {
                values[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
            }
        }
        return values;
    }

    Complaint storm(const Operation &operation) {
        service_.trouble(operation.trouble);
        const Clock::time_point begin = Clock::now();
        for (const auto &client : clients_) {
            client->tell(number_);
        }
        Outcome all;
        for (const auto &client : clients_) {
            const Outcome outcome = client->answer();
            all.result = outcome.result != 0 ? outcome.result : all.result;
            all.words.insert(all.words.end(), outcome.words.begin(), outcome.words.end());
        }
        return settle(operation, all, Clock::now() - begin);
    }

    /* Grows with each change, also over a kill of the service. */
    Complaint serial(const Operation &operation) {
        const Outcome outcome = clients_[operation.client]->ask(number_);
        const auto found = static_cast<uint32_t>(std::stoul(outcome.words.front()));
        Seen &seen = seen_[operation.client];
        const bool has_changed = seen.changes != model_.changes();
        const bool grew = static_cast<int32_t>(found - seen.serial) > 0;
        if (seen.is_set && found != 0 && seen.serial != 0 &&
            (has_changed ? !grew : found != seen.serial && !grew)) {
            return "the serial is " + std::to_string(found) + " after " + std::to_string(seen.serial);
        }
        seen = {true, found, model_.changes()};
        return std::nullopt;
    }

    /* The last value of each key arrives; how soon is not looked at. */
    Complaint watch(const Operation &operation) {
        const Client &client = *clients_[operation.client];
        const std::vector<std::string> expected = watched(operation.key);
        Outcome told;
        const bool arrived = wait_until([&] {
            told = client.ask(number_);
            return told.words == expected;
        });
        return arrived ? std::nullopt
                       : Complaint("the watcher was told " + describe(told) +
                                   "\n    allowed: " + describe(Outcome{0, expected}));
    }

    std::vector<std::string> watched(const std::string &prefix) const {
        std::vector<std::string> words;
        for (const Store store : {Store::kPlain, Store::kPerm}) {
            for (const auto &[key, value] : model_.state().of(store).now) {
                if (key.compare(0, prefix.size(), prefix) == 0) {
                    words.push_back(key);
                    words.push_back(value);
                }
            }
            words.emplace_back();
        }
        return words;
    }

    /* The trouble meets the next start. */
    Complaint kill(const Operation &operation) {
        service_.kill();
        service_.refuse(0, 0);
        return start_troubled(operation.trouble);
    }

    Complaint start_troubled(const Trouble &trouble) {
        if (trouble.way != Trouble::Way::kNone) {
            service_.trouble(trouble);
            service_.start();
            (void)wait_until(
                [this] { return !service_.running() || clients_[0]->ask(kAskWhetherServed).result == 0; });
            (void)service_.end_trouble();
            service_.kill();
        }
        return start();
    }

    Complaint end(const Operation &operation) {
        service_.trouble({});
        if (operation.number == 0) {
            service_.terminate();
        } else {
            (void)clients_[operation.client]->ask(number_);
        }
        if (!service_.wait_for_end()) {
            return "the service does not end";
        }
        Complaint complaint = judge(operation, {0, {}, service_.end_trouble()});
        service_.refuse(0, 0);
        if (!complaint && operation.number > kExit) {
            lose_power(Unsynced::kLost);
        }
        return complaint ? complaint : start();
    }

    Complaint power_cut(const Operation &operation) {
        service_.kill();
        service_.refuse(0, 0);
        lose_power(static_cast<Unsynced>(operation.number));
        return start();
    }

    void lose_power(Unsynced unsynced) {
        service_.cut_power(unsynced);
        model_.cut_power();
        for (Seen &seen : seen_) {
            seen = {};
        }
    }

    Complaint damage_journal(const Operation &operation) {
        service_.kill();
        service_.refuse(0, 0);
        model::damage_journal(operation.store, operation.number);
        return start_and_list(operation);
    }

    /*
     * The damaged file is kept, whatever is loaded instead. What was loaded is saved, so that the model knows
     * the disk.
     */
    Complaint damage_file(const Operation &operation) {
        service_.kill();
        service_.refuse(0, 0);
        const std::string text = damage_settings(operation.store, operation.number);
        begin_shadow();
        Complaint complaint = start_and_list(operation);
        const Outcome saved = complaint ? Outcome{} : clients_[0]->ask(kSaveAll);
        for (size_t i = 0; !complaint && i < saved.words.size(); ++i) {
            Operation save = {};
            save.kind = i == 0 ? Kind::kSave : Kind::kSaveFactory;
            complaint = judge(save, {std::stoi(saved.words[i])});
        }
        if (!complaint && !text.empty() && !is_kept(operation.store, text)) {
            complaint = "the damaged file is gone";
        }
        return complaint;
    }

    Complaint start_and_list(const Operation &operation) {
        service_.start();
        if (clients_[0]->ask(kWaitUntilServed).result != 0) {
            return "the service does not start";
        }
        const Outcome listed = clients_[0]->ask(kListAll);
        const Complaint complaint =
            judge(operation, {listed.result, words_of(operation.store, listed.words)});
        return complaint ? complaint : audit();
    }

    /* Those of one store, out of the lists of all. */
    static std::vector<std::string> words_of(Store store, const std::vector<std::string> &words) {
        std::vector<std::string> own;
        size_t at = 0;
        for (const Store each : kStores) {
            for (; at < words.size() && !(words[at].empty()); at += 2) {
                if (each == store) {
                    own.insert(own.end(), {words[at], words[at + 1]});
                }
            }
            ++at;
        }
        return own;
    }

    Complaint refuse_writes(const Operation &operation) {
        service_.refuse(operation.number, operation.error);
        return std::nullopt;
    }

    Complaint allow_writes(const Operation &) {
        service_.refuse(0, 0);
        return std::nullopt;
    }

    struct Seen {
        bool is_set = false;
        uint32_t serial = 0;
        uint64_t changes = 0;
    };

    const std::vector<Operation> &operations_;
    const TrialOptions &options_;
    std::vector<std::unique_ptr<Client>> clients_;
    ServiceOnTrial service_;
    ReferenceModel model_;
    Seen seen_[kClients];
    uint32_t number_ = 0;
};

/* All others are asked for by a client. */
const Trial::Row Trial::kRows[] = {
    {Kind::kStorm, &Trial::storm},
    {Kind::kSerial, &Trial::serial},
    {Kind::kWatch, &Trial::watch},
    {Kind::kKill, &Trial::kill},
    {Kind::kEnd, &Trial::end},
    {Kind::kPowerCut, &Trial::power_cut},
    {Kind::kDamageJournal, &Trial::damage_journal},
    {Kind::kDamageFile, &Trial::damage_file},
    {Kind::kRefuseWrites, &Trial::refuse_writes},
    {Kind::kAllowWrites, &Trial::allow_writes},
    {Kind::kSet, nullptr},
};

}  // namespace

std::optional<Broken> try_service(const std::vector<Operation> &operations, const TrialOptions &options) {
    return Trial(operations, options).run();
}

}  // namespace model
