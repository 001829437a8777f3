#include "model/told_values.h"

namespace model {

namespace {

int add(const char *key, const char *value, void *values) {
    (*static_cast<Values *>(values))[key] = value;
    return 0;
}

}  // namespace

ToldValues::ToldValues(std::string prefix) : prefix_(std::move(prefix)) {
    (void)zndb_watch(prefix_.c_str(), take, this, &watcher_);
    list_anew();
}

ToldValues::~ToldValues() {
    (void)zndb_unwatch(watcher_);
}

/* On no lock while it asks: the handler may be called meanwhile. A later change is told later. */
void ToldValues::list_anew() {
    Values listed[2];
    const bool done = zndb_list(ZNDB_STORE_PLAIN, prefix_.c_str(), add, &listed[0]) == 0 &&
                      zndb_list(ZNDB_STORE_PERM, prefix_.c_str(), add, &listed[1]) == 0;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (done) {
        values_[0] = listed[0];
        values_[1] = listed[1];
    }
}

void ToldValues::take(const zndb_change *change, void *self) {
    static_cast<ToldValues *>(self)->take(*change);
}

void ToldValues::take(const zndb_change &change) {
    if (change.kind == ZNDB_CHANGE_RESYNC) {
        list_anew();
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    Values &values = values_[change.store];
    if (change.kind == ZNDB_CHANGE_RESET) {
        values.clear();
    } else {
        put(values, change.key, change.value != nullptr ? Value(change.value) : std::nullopt);
    }
}

std::vector<std::string> ToldValues::words() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> words;
    for (const Values &values : values_) {
        for (const auto &[key, value] : values) {
            words.push_back(key);
            words.push_back(value);
        }
        words.emplace_back();
    }
    return words;
}

}  // namespace model
