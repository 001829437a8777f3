#include "apply_stage.h"

#include <algorithm>
#include <utility>

#include "os_log.h"

namespace {

/* A stage gives way after so many times the patience, however often its client is heard of. */
constexpr int kLongest = 3;

}  // namespace

bool ApplyStage::is_open() const {
    const Clock::time_point now = Clock::now();
    return number_ != 0 && now - used_ < patience_ && now - begun_ < kLongest * patience_;
}

void ApplyStage::drop() {
    number_ = 0;
    count_ = 0;
    std::string().swap(bytes_);
}

apps_err_e_type ApplyStage::check(uint32_t number) const {
    if (number == 0 || number != number_ || !is_open()) {
        OS_LOG(OS_LOG_WARNING, "staged changes refused: there is no stage %u", number);
        return E_APPS_ERR_ZNDB_NO_FOUND;
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type ApplyStage::begin(uint32_t &number) {
    if (is_open()) {
        OS_LOG(OS_LOG_WARNING, "a stage refused: another one is being filled");
        return E_APPS_ERR_BUSY;
    }
    drop();
    last_number_ = std::max(last_number_ + 1, 1U);
    number_ = last_number_;
    begun_ = Clock::now();
    used_ = begun_;
    number = number_;
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type ApplyStage::add(const ApplyRequest &request) {
    const apps_err_e_type result = check(request.number);
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    if (count_ + request.page_count > kStagedItemsMax ||
        bytes_.size() + request.page_size > kStagedBytesMax) {
        OS_LOG(OS_LOG_WARNING, "a stage dropped: it has more than %zu changes, or than %zu bytes",
               kStagedItemsMax, kStagedBytesMax);
        drop();
        return E_APPS_ERR_ZNDB_MEM;
    }
    bytes_.append(static_cast<const char *>(request.page), request.page_size);
    count_ += request.page_count;
    used_ = Clock::now();
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type ApplyStage::take(uint32_t number, std::string &bytes, std::vector<ZndbItem> &items) {
    const apps_err_e_type result = check(number);
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    bytes = std::move(bytes_);
    items.resize(count_);
    ZndbItems read(bytes.data(), bytes.size());
    for (ZndbItem &item : items) {
        (void)read.next(item); /* each page was read before */
    }
    drop();
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type ApplyStage::abandon(uint32_t number) {
    const apps_err_e_type result = check(number);
    if (result == E_APPS_ERR_SUCCESS) {
        drop();
    }
    return result;
}
