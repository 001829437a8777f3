#include "loaded_library.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

LoadedLibrary::LoadedLibrary(const std::string &path)
    : handle_(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
        problem_ = ::dlerror();
    }
}

LoadedLibrary::~LoadedLibrary() {
    if (handle_ != nullptr) {
        (void)::dlclose(handle_);
    }
}

void *LoadedLibrary::address(const char *name) const {
    return ::dlsym(handle_, name);
}

size_t LoadedLibrary::variable_size(const char *name) const {
    void *const found = address(name);
    Dl_info info = {};
    void *symbol = nullptr;
    if (found == nullptr || ::dladdr1(found, &info, &symbol, RTLD_DL_SYMENT) == 0 || symbol == nullptr) {
        return 0;
    }
    const auto &entry = *static_cast<const ElfW(Sym) *>(symbol);
    constexpr unsigned char kTypeMask = 0xf;
    return (entry.st_info & kTypeMask) == STT_OBJECT ? entry.st_size : 0;
}
