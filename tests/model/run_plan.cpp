#include "model/run_plan.h"

#include <cerrno>
#include <iterator>
#include <random>

#include "model/disk_shadow.h"
#include "model/trial_control.h"

namespace model {

namespace {

constexpr uint32_t kShortest = 40;
constexpr uint32_t kLongest = 100;
constexpr uint32_t kStepsMax = 12;

const std::string kLong(300, 'l');
const std::string kLongest31(31, 'k');
const std::string kLongest1023(1023, 'v');

/* Few keys and few values, so that operations meet; each with a default, one without. */
const std::string kKeys[] = {"a",   "wan_mode",          "wifi_ssid",     "wifi_key",     kLongest31,
                             "z z", "device_debug_mode", "shown\xc3\xa4", "webs_language"};
const std::string kBadKeys[] = {"", "#a", " a", "a=b", kLongest31 + "k"};
const std::string kValues[] = {"", "1", "2", "true", "false", " with blanks = and #", kLong, kLongest1023};
const std::string kBadValues[] = {"two\nlines", "cr\r", kLongest1023 + "v"};
const std::string kLanguages[] = {"en", "zh", "ZH", "de", "xx", ""};
constexpr int kErrors[] = {ENOSPC, EROFS, EIO};
const std::string kPrefixes[] = {"", "w", "wifi_"};

class Draw {
  public:
    explicit Draw(uint64_t seed) : random_(seed) {}

    uint32_t below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }
    bool one_in(uint32_t count) { return below(count) == 0; }
    uint32_t between(uint32_t least, uint32_t most) { return least + below(most - least + 1); }

    template <typename Array>
    const auto &of(const Array &array) {
        return array[below(static_cast<uint32_t>(std::size(array)))];
    }

    Store store() { return kStores[below(8) < 4 ? 0 : below(3)]; }
    Store store_of_clients() { return one_in(3) ? Store::kPerm : Store::kPlain; }
    std::string key() { return one_in(40) ? of(kBadKeys) : of(kKeys); }
    std::string value() { return one_in(40) ? of(kBadValues) : of(kValues); }

  private:
    std::mt19937_64 random_;
};

/* One in four changes and saves meets trouble. */
Trouble trouble(Draw &draw) {
    if (!draw.one_in(4)) {
        return {};
    }
    const bool dies = draw.one_in(2);
    return {dies ? Trouble::Way::kDies : Trouble::Way::kFails, draw.between(1, kStepsMax), draw.of(kErrors)};
}

/* Most changes are one step. */
Trouble trouble_of_change(Draw &draw) {
    Trouble met = trouble(draw);
    met.step = met.step > 0 ? draw.between(1, 4) : 0;
    return met;
}

Operation plain(Kind kind, Draw &draw) {
    Operation operation = {};
    operation.kind = kind;
    operation.client = draw.below(kClients);
    return operation;
}

Operation of_key(Kind kind, Store store, Draw &draw) {
    Operation operation = plain(kind, draw);
    operation.store = store;
    operation.key = draw.of(kKeys);
    return operation;
}

Operation set(Draw &draw) {
    Operation operation = of_key(Kind::kSet, draw.store(), draw);
    operation.value = draw.value();
    /* The client's own call checks the texts of the other two. */
    if (operation.store != Store::kFactory) {
        operation.key = draw.key();
    } else if (operation.value->size() > kLongest1023.size()) {
        operation.value = kLongest1023;
    }
    operation.trouble = trouble_of_change(draw);
    return operation;
}

Operation erase(Draw &draw) {
    Operation operation = of_key(Kind::kDelete, draw.store_of_clients(), draw);
    operation.trouble = trouble_of_change(draw);
    return operation;
}

Operation get(Draw &draw) {
    return of_key(Kind::kGet, draw.store_of_clients(), draw);
}

Operation get_default(Draw &draw) {
    return of_key(Kind::kGetDefault, Store::kFactory, draw);
}

Operation view_get(Draw &draw) {
    return of_key(Kind::kViewGet, draw.store_of_clients(), draw);
}

Operation list(Draw &draw) {
    Operation operation = plain(Kind::kList, draw);
    operation.store = draw.store();
    operation.key = draw.of(kPrefixes);
    return operation;
}

Operation list_pages(Draw &draw) {
    Operation operation = list(draw);
    operation.kind = Kind::kListPages;
    return operation;
}

Item item(Draw &draw) {
    constexpr ItemKind kMostly[] = {ItemKind::kSet, ItemKind::kSet, ItemKind::kSet, ItemKind::kDelete};
    Item drawn = {draw.of(kMostly), draw.store(), draw.of(kKeys), draw.of(kValues)};
    if (draw.one_in(60)) {
        drawn.key = draw.key();
    }
    if (draw.one_in(12)) {
        drawn.kind = draw.one_in(2) ? ItemKind::kExpect : ItemKind::kExpectMissing;
    }
    if (drawn.kind == ItemKind::kDelete || drawn.kind == ItemKind::kExpectMissing) {
        drawn.value.clear();
    }
    return drawn;
}

Operation batch(Draw &draw) {
    Operation operation = plain(Kind::kBatch, draw);
    const uint32_t count = draw.one_in(20) ? draw.between(60, 66) : draw.between(1, 7);
    for (uint32_t i = 0; i < count; ++i) {
        operation.items.push_back(item(draw));
    }
    operation.trouble = trouble(draw);
    return operation;
}

Operation compare_and_set(Draw &draw) {
    Operation operation = of_key(Kind::kCompareAndSet, draw.store(), draw);
    operation.value = draw.one_in(4) ? std::nullopt : Value(draw.of(kValues));
    operation.successor = draw.of(kValues);
    operation.trouble = trouble_of_change(draw);
    return operation;
}

Operation with_trouble(Kind kind, Draw &draw) {
    Operation operation = plain(kind, draw);
    operation.trouble = trouble(draw);
    return operation;
}

Operation reset(Draw &draw) {
    return with_trouble(Kind::kReset, draw);
}

Operation save(Draw &draw) {
    return with_trouble(Kind::kSave, draw);
}

Operation save_factory(Draw &draw) {
    return with_trouble(Kind::kSaveFactory, draw);
}

Operation save_ram(Draw &draw) {
    return with_trouble(Kind::kSaveRam, draw);
}

Operation power_off_notice(Draw &draw) {
    return with_trouble(Kind::kPowerOffNotice, draw);
}

Operation language(Draw &draw) {
    Operation operation = with_trouble(Kind::kLanguage, draw);
    operation.key = draw.of(kLanguages);
    return operation;
}

Operation serial(Draw &draw) {
    return plain(Kind::kSerial, draw);
}

Operation watch(Draw &draw) {
    Operation operation = plain(Kind::kWatch, draw);
    operation.key = kPrefixes[operation.client];
    return operation;
}

/* Each client has keys of its own, and one client may save in between. */
Operation storm(Draw &draw) {
    Operation operation = plain(Kind::kStorm, draw);
    operation.number = kClients;
    const bool saves = draw.one_in(2);
    for (uint32_t client = 0; client < kClients; ++client) {
        const uint32_t count = draw.between(1, 3);
        for (uint32_t i = 0; i < count; ++i) {
            if (saves && client == 0 && i == count / 2) {
                operation.items.push_back({ItemKind::kSave, Store::kPlain, "", "", client});
            }
            const std::string key = "storm" + std::to_string(client) + "." + std::to_string(draw.below(2));
            const ItemKind kind = draw.one_in(4) ? ItemKind::kDelete : ItemKind::kSet;
            operation.items.push_back(
                {kind, Store::kPlain, key, kind == ItemKind::kSet ? draw.of(kValues) : "", client});
        }
    }
    operation.trouble = trouble(draw);
    return operation;
}

Operation kill(Draw &draw) {
    Operation operation = plain(Kind::kKill, draw);
    if (draw.one_in(3)) {
        operation.trouble = {Trouble::Way::kDies, draw.between(1, 6), 0}; /* in its next start */
    }
    return operation;
}

Operation end(Draw &draw) {
    Operation operation = plain(Kind::kEnd, draw);
    operation.number = draw.below(5);
    return operation;
}

Operation power_cut(Draw &draw) {
    Operation operation = plain(Kind::kPowerCut, draw);
    operation.number = draw.below(3);
    return operation;
}

Operation damage_journal(Draw &draw) {
    Operation operation = plain(Kind::kDamageJournal, draw);
    operation.store = draw.store();
    operation.number = draw.below(1000);
    return operation;
}

Operation damage_file(Draw &draw) {
    Operation operation = damage_journal(draw);
    operation.kind = Kind::kDamageFile;
    return operation;
}

Operation refuse_writes(Draw &draw) {
    Operation operation = plain(Kind::kRefuseWrites, draw);
    constexpr uint32_t kRefusing[] = {kPlainDisk, kPermDisk, kFactoryDisk, kPlainDisk | kPermDisk, kJournals};
    operation.number = draw.of(kRefusing);
    operation.error = operation.number == kJournals || draw.one_in(2) ? ENOSPC : EROFS;
    return operation;
}

Operation allow_writes(Draw &draw) {
    return plain(Kind::kAllowWrites, draw);
}

struct Row {
    uint32_t weight;
    Operation (*draw)(Draw &draw);
};

constexpr Row kRows[] = {
    {22, set},
    {7, erase},
    {6, get},
    {3, get_default},
    {5, view_get},
    {2, list},
    {2, list_pages},
    {10, batch},
    {4, compare_and_set},
    {2, reset},
    {9, save},
    {3, save_factory},
    {2, save_ram},
    {2, power_off_notice},
    {2, language},
    {2, serial},
    {1, watch},
    {3, storm},
    {3, kill},
    {1, end},
    {3, power_cut},
    {1, damage_journal},
    {1, damage_file},
    {2, refuse_writes},
    {3, allow_writes},
};

Operation draw_operation(Draw &draw) {
    uint32_t total = 0;
    for (const Row &row : kRows) {
        total += row.weight;
    }
    uint32_t left = draw.below(total);
    for (const Row &row : kRows) {
        if (left < row.weight) {
            return row.draw(draw);
        }
        left -= row.weight;
    }
    return {};
}

}  // namespace

std::vector<Operation> plan_of(uint64_t seed) {
    Draw draw(seed);
    std::vector<Operation> operations;
    const uint32_t count = draw.between(kShortest, kLongest);
    for (uint32_t i = 0; i < count; ++i) {
        operations.push_back(draw_operation(draw));
    }
    return operations;
}

Values default_values() {
    return {{"a", "default"}, {"webs_language_support", "en#English,zh#Chinese,de"}, {"wifi_ssid", ""}};
}

}  // namespace model
