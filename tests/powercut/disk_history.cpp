#include "powercut/disk_history.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "faults/injector.h"

namespace powercut {

namespace {

constexpr size_t kPage = 4096;
constexpr size_t kSector = 512;

/* The beginning of the first, followed by the rest of the other. */
std::string torn_at(const std::string &before, const std::string &now, size_t place) {
    std::string torn = now.substr(0, std::min(place, now.size()));
    const std::string rest = before.size() > place ? before.substr(place) : "";
    return torn + rest;
}

/* The contents that a file may have which was before synced, and is now written but not synced. */
std::set<std::string> torn_contents(const std::string &before, const std::string &now) {
    std::set<std::string> contents = {before, now, ""};
    contents.insert(now.substr(0, now.size() / 2 / kSector * kSector));
    contents.insert(std::string(now.size(), '\0')); /* its size alone */
    for (size_t place = kPage; place < std::max(now.size(), before.size()); place += kPage) {
        contents.insert(torn_at(before, now, place));
        contents.insert(torn_at(now, before, place));
    }
    return contents;
}

/* A file that is cut is as it was or cut, its other bytes stay; anything else may tear. */
std::set<std::string> changing_contents(const std::string &before, const std::string &now) {
    const bool cut = before.compare(0, now.size(), now) == 0;
    return cut ? std::set<std::string>{before, now} : torn_contents(before, now);
}

/* Names of one folder as in the other map. */
void take_folder(Names *names, const Names &from, const std::string &folder) {
    for (auto each = names->begin(); each != names->end();) {
        each = folder_of(each->first) == folder ? names->erase(each) : std::next(each);
    }
    for (const auto &[path, entry] : from) {
        if (folder_of(path) == folder) {
            (*names)[path] = entry;
        }
    }
}

std::set<std::string> folders_of(const std::vector<Names> &states) {
    std::set<std::string> folders;
    for (const Names &names : states) {
        for (const auto &[path, entry] : names) {
            folders.insert(folder_of(path));
        }
    }
    return folders;
}

std::string text_of(const DiskImage &image) {
    std::string text;
    for (const auto &[path, entry] : image.names) {
        text += path + (entry.is_folder ? "/" : "=" + image.contents.at(entry.file)) + '\0';
    }
    return text;
}

/* Disks, each once. */
class DiskSet {
  public:
    void add(const DiskImage &image) {
        if (seen_.insert(text_of(image)).second) {
            images_.push_back(image);
        }
    }
    std::vector<DiskImage> take() { return std::move(images_); }

  private:
    std::set<std::string> seen_;
    std::vector<DiskImage> images_;
};

}  // namespace

/* Records the disk after each call into the C library. */
class Recorder {
  public:
    explicit Recorder(DiskHistory *history) : history_(history) {
        current_ = this;
        faults::set_observer(look);
        faults::watch(faults::Who::kCaller);
    }
    ~Recorder() {
        (void)faults::end();
        faults::set_observer(nullptr);
        current_ = nullptr;
    }
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

  private:
    using Step = DiskHistory::Step;

    static void look(faults::Call call, int fd) { current_->add(call, fd); }

    void add(faults::Call call, int fd) {
        DiskImage image = read_disk(history_->folders_);
        auto &steps = history_->steps_;
        const DiskImage &last = steps.empty() ? history_->before_ : steps.back().image;
        if (!(image == last)) {
            steps.push_back({Step::Kind::kChange, 0, "", image});
        }
        if (call == faults::Call::fsync) {
            steps.push_back(sync_of(fd, std::move(image)));
        } else if (call == faults::Call::kNone) {
            steps.push_back({Step::Kind::kSyncAll, 0, "", std::move(image)});
        }
    }

    static Step sync_of(int fd, DiskImage image) {
        struct stat found = {};
        (void)::fstat(fd, &found);
        if (!S_ISDIR(found.st_mode)) {
            return {Step::Kind::kSyncFile, static_cast<uint64_t>(found.st_ino), "", std::move(image)};
        }
        const std::string folder =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)).string();
        return {Step::Kind::kSyncFolder, 0, folder, std::move(image)};
    }

    static Recorder *current_;
    DiskHistory *const history_;
};

Recorder *Recorder::current_ = nullptr;

/* What is safe after a step, and what is not. */
class Volatile {
  public:
    explicit Volatile(const DiskImage &before) : now_(before), safe_(before.contents), names_{before.names} {}

    void take(const DiskHistory::Step &step) {
        using Kind = DiskHistory::Step::Kind;
        now_ = step.image;
        if (!(names_.back() == now_.names)) {
            names_.push_back(now_.names);
        }
        for (const auto &[file, content] : now_.contents) {
            if (content != last_content(file)) {
                unsynced_[file].push_back(content);
            }
        }
        switch (step.kind) {
            case Kind::kChange:
                break;
            case Kind::kSyncFile:
                safe_[step.file] = now_.contents[step.file];
                unsynced_.erase(step.file);
                break;
            case Kind::kSyncFolder:
                for (Names &names : names_) {
                    take_folder(&names, now_.names, step.folder);
                }
                break;
            case Kind::kSyncAll:
                safe_ = now_.contents;
                unsynced_.clear();
                names_ = {now_.names};
                break;
        }
    }

    /* Adds every disk that may be left now. */
    void add_disks(DiskSet *disks) const {
        for (const Names &names : possible_names()) {
            DiskImage image;
            image.names = names;
            std::vector<uint64_t> files;
            for (const auto &[path, entry] : names) {
                if (!entry.is_folder) {
                    files.push_back(entry.file);
                }
            }
            add_contents(files, 0, &image, disks);
        }
    }

  private:
    /* Each folder as it was at one moment, together with each other. */
    std::vector<Names> possible_names() const {
        std::vector<Names> all = {names_.back()};
        for (const std::string &folder : folders_of(names_)) {
            std::vector<Names> with_folder;
            for (const Names &names : all) {
                for (const Names &state : names_) {
                    Names changed = names;
                    take_folder(&changed, state, folder);
                    if (std::find(with_folder.begin(), with_folder.end(), changed) == with_folder.end()) {
                        with_folder.push_back(std::move(changed));
                    }
                }
            }
            all = std::move(with_folder);
        }
        return all;
    }

    /* All contents of the files from one on, together with each other. */
    void add_contents(const std::vector<uint64_t> &files, size_t from, DiskImage *image,
                      DiskSet *disks) const {
        if (from == files.size()) {
            disks->add(*image);
            return;
        }
        for (const std::string &content : possible(files[from])) {
            image->contents[files[from]] = content;
            add_contents(files, from + 1, image, disks);
        }
    }

    std::string safe_content(uint64_t file) const {
        const auto safe = safe_.find(file);
        return safe != safe_.end() ? safe->second : "";
    }

    std::string last_content(uint64_t file) const {
        const auto states = unsynced_.find(file);
        return states != unsynced_.end() ? states->second.back() : safe_content(file);
    }

    /* Of each step since the file was safe, though the last one brought the same bytes back. */
    std::set<std::string> possible(uint64_t file) const {
        std::string before = safe_content(file);
        std::set<std::string> contents = {before};
        const auto states = unsynced_.find(file);
        if (states == unsynced_.end()) {
            return contents;
        }
        for (const std::string &now : states->second) {
            contents.merge(changing_contents(before, now));
            before = now;
        }
        return contents;
    }

    DiskImage now_;
    Contents safe_;
    std::map<uint64_t, std::vector<std::string>>
        unsynced_;             /* what each file was since it was safe, in order */
    std::vector<Names> names_; /* that may be there, the oldest first */
};

DiskHistory::DiskHistory(std::vector<std::string> folders, const std::function<void()> &call)
    : folders_(std::move(folders)), before_(read_disk(folders_)) {
    const Recorder recorder(this);
    call();
}

std::vector<DiskImage> DiskHistory::during() const {
    DiskSet disks;
    Volatile state(before_);
    state.add_disks(&disks);
    for (const Step &step : steps_) {
        state.take(step);
        state.add_disks(&disks);
    }
    return disks.take();
}

std::vector<DiskImage> DiskHistory::afterwards() const {
    DiskSet disks;
    Volatile state(before_);
    for (const Step &step : steps_) {
        state.take(step);
    }
    state.add_disks(&disks);
    return disks.take();
}

}  // namespace powercut
