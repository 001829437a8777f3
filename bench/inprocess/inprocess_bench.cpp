/*
 * The cost of calls inside a process: conversions by type code, and look-ups of names, with the number of
 * memory blocks that a call allocates.
 */
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "apps_err.h"
#include "apps_message.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "os_mem.h"
#include "peers/require.h"

/* The C library's functions, under their names for replacements. */
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

namespace {

std::atomic<uint64_t> g_allocations{0};

}  // namespace

/* These replace the C library's functions in the whole process, so that blocks of the library are counted
 * too. */
#pragma GCC visibility push(default)
extern "C" {
void *malloc(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void *realloc(void *block, size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}
#pragma GCC visibility pop

namespace {

/* Records the number of blocks that a call allocates. */
class AllocationCount {
  public:
    explicit AllocationCount(benchmark::State *state) : state_(state), before_(g_allocations.load()) {}
    ~AllocationCount() {
        const auto taken = static_cast<double>(g_allocations.load() - before_);
        state_->counters["allocations"] = taken / static_cast<double>(state_->iterations());
    }
    AllocationCount(const AllocationCount &) = delete;
    AllocationCount &operator=(const AllocationCount &) = delete;

  private:
    benchmark::State *state_;
    const uint64_t before_;
};

struct TypeCase {
    const char *name;
    int32_t code;
    const char *text;
};

constexpr TypeCase kTypes[] = {
    {"bool", FRWK_DATA_TYPE_BOOL, "true"},
    {"byte", FRWK_DATA_TYPE_BYTE, "200"},
    {"short", FRWK_DATA_TYPE_SHORT, "-12345"},
    {"ushort", FRWK_DATA_TYPE_USHORT, "54321"},
    {"int", FRWK_DATA_TYPE_INT, "-1234567"},
    {"uint", FRWK_DATA_TYPE_UINT, "3000000000"},
    {"long", FRWK_DATA_TYPE_LONG, "-1234567"},
    {"ulong", FRWK_DATA_TYPE_ULONG, "3000000000"},
    {"llong", FRWK_DATA_TYPE_LLONG, "-1234567890123"},
    {"ullong", FRWK_DATA_TYPE_ULLONG, "12345678901234567890"},
    {"string", FRWK_DATA_TYPE_STRING, "192.168.100.100"},
    {"float", FRWK_DATA_TYPE_FLOAT, "3.25"},
    {"double", FRWK_DATA_TYPE_DOUBLE, "3.141592653589793"},
};

void text_to_value(benchmark::State &state, const TypeCase &type) {
    alignas(8) char value[64];
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(frwk_str_to_value(type.code, type.text, value, sizeof(value)));
        benchmark::ClobberMemory();
    }
}

void value_to_text(benchmark::State &state, const TypeCase &type) {
    alignas(8) char value[64];
    char text[64];
    (void)frwk_str_to_value(type.code, type.text, value, sizeof(value));
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(frwk_value_to_str(type.code, value, text, sizeof(text)));
        benchmark::ClobberMemory();
    }
}

/* The cost of the C library's conversion. */
void plain_strtol(benchmark::State &state) {
    const char *text = "-1234567";
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(std::strtol(text, nullptr, 10));
    }
}

void message_name(benchmark::State &state, int32_t msgid) {
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(msgid);
        benchmark::DoNotOptimize(zn_enum_to_str_apps_message_id_e_type(msgid));
    }
}

void message_number(benchmark::State &state, const char *name) {
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(zn_str_to_enum_apps_message_id_e_type(name));
    }
}

void error_name(benchmark::State &state, int32_t code) {
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(zn_enum_to_str_apps_err_e_type(code));
    }
}

void module_id(benchmark::State &state, const char *name) {
    const AllocationCount count(&state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(frwk_module_id(name));
    }
}

void register_all() {
    for (const TypeCase &type : kTypes) {
        const std::string name = type.name;
        benchmark::RegisterBenchmark(("from text/" + name).c_str(), text_to_value, type);
        benchmark::RegisterBenchmark(("to text/" + name).c_str(), value_to_text, type);
    }
    benchmark::RegisterBenchmark("from text/strtol alone", plain_strtol);
    benchmark::RegisterBenchmark("name/first message", message_name, E_APPS_MSG_SYS_EXIT);
    benchmark::RegisterBenchmark("name/router message", message_name, E_APPS_MSG_ROUTER_ETHER_INFO_GET);
    benchmark::RegisterBenchmark("name/unknown message", message_name, 999999);
    benchmark::RegisterBenchmark("name/error", error_name, E_APPS_ERR_TIMEOUT);
    benchmark::RegisterBenchmark("number/router message", message_number, "E_APPS_MSG_ROUTER_ETHER_INFO_GET");
    benchmark::RegisterBenchmark("module/router", module_id, "router");
    benchmark::RegisterBenchmark("module/logtool", module_id, "logtool");
}

/* Ends the process if the blocks of other libraries are not counted, as in a program linked differently. */
void check_the_count() {
    const uint64_t before = g_allocations.load();
    os_mem_free(os_mem_malloc(16));
    require(g_allocations.load() > before, "blocks of memory are not seen");
}

}  // namespace

int main(int argc, char **argv) {
    check_the_count();
    benchmark::Initialize(&argc, argv);
    register_all();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
