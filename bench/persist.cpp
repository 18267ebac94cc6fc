// The typed tree against std::map<std::string, int32_t> and against a map
// that boxes each value as the tree does (insertion and lookup of 10^6
// random keys, in the same run; the tree's insertion includes making the
// typed entry), and the stream encoding's
// throughput for a tree of 10^6 small entries through a MemFile and through
// a file. Each benchmark is one pass over 10^6 items, repeated; read the
// medians. The machine is shared, so figures move between runs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/memory.hpp"
#include "ostravine/persist.h"

namespace {

constexpr int n_keys = 1000000;

const std::vector<std::string>& keys() {
    static const std::vector<std::string> k = [] {
        std::mt19937_64 rng(42);
        std::vector<std::string> v;
        v.reserve(n_keys);
        char buf[32];
        for (int i = 0; i < n_keys; ++i) {
            std::snprintf(buf, sizeof buf, "key%llx", static_cast<unsigned long long>(rng() % 1000000000000ULL));
            v.emplace_back(buf);
        }
        return v;
    }();
    return k;
}

// The same keys in another order, for lookups.
const std::vector<const char*>& probes() {
    static const std::vector<const char*> p = [] {
        std::vector<const char*> v;
        for (const auto& k : keys()) v.push_back(k.c_str());
        std::shuffle(v.begin(), v.end(), std::mt19937(7));
        return v;
    }();
    return p;
}

ArbValue* int_entry(std::int32_t v) {
    auto* p = static_cast<std::int32_t*>(ostr::mem_alloc(4));
    *p = v;
    return createArbValue(p, "integer");
}

ArbTree* build_tree() {
    ArbTree* t = initializeArbTree();
    std::int32_t i = 0;
    for (const auto& k : keys()) insertArbNode(t, nullptr, k.c_str(), int_entry(i++));
    return t;
}

void release(ArbTree* t) { freeRBNodeValueArbTree(t); }

void BM_ArbTreeInsert(benchmark::State& state) {
    for (auto _ : state) {
        ArbTree* t = build_tree();
        state.PauseTiming();
        release(t);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * n_keys);
}

void BM_StdMapInsert(benchmark::State& state) {
    for (auto _ : state) {
        auto* m = new std::map<std::string, std::int32_t>;
        std::int32_t i = 0;
        for (const auto& k : keys()) (*m)[k] = i++;
        state.PauseTiming();
        delete m;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * n_keys);
}

// The peer that, like the typed tree, keeps each value in its own block.
void BM_StdMapBoxedInsert(benchmark::State& state) {
    for (auto _ : state) {
        auto* m = new std::map<std::string, std::unique_ptr<std::int32_t>>;
        std::int32_t i = 0;
        for (const auto& k : keys()) (*m)[k] = std::make_unique<std::int32_t>(i++);
        state.PauseTiming();
        delete m;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * n_keys);
}

// The generic search tree: the same red-black insertion without entries.
void BM_SearchTreeInsert(benchmark::State& state) {
    for (auto _ : state) {
        RBTree* t = initializeRBTree(nullptr, nullptr, nullptr, nullptr);
        for (const auto& k : keys()) insertRBNode(t, k.c_str(), nullptr);
        state.PauseTiming();
        freeRBTree(t, nullptr, 0);
        ostr::mem_free(t);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * n_keys);
}

void BM_ArbTreeLookup(benchmark::State& state) {
    ArbTree* t = build_tree();
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const char* k : probes()) sum += *getInteger(k, t);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * n_keys);
    release(t);
}

void BM_StdMapLookup(benchmark::State& state) {
    std::map<std::string, std::int32_t> m;
    std::int32_t i = 0;
    for (const auto& k : keys()) m[k] = i++;
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const char* k : probes()) sum += m.find(k)->second;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * n_keys);
}

// Stream throughput: bytes of encoding per second.
// Streams are measured warm: one untimed pass first, so the heap has grown
// to its working size and glibc has settled its thresholds for large blocks.
// On the development virtual machine a page fault costs about 11 us, so a
// cold pass spends much of its time faulting in fresh pages (docs/persist.md,
// "Speed", gives the cold figures).
MemFile* write_mem(ArbTree* t) {
    MemFile* m = MemOpen(1 << 20);
    writeArbTreeToStream(t, nullptr, m, 0);
    return m;
}

void BM_WriteMemFile(benchmark::State& state) {
    ArbTree* t = build_tree();
    MemClose(write_mem(t));
    std::int64_t bytes = 0;
    for (auto _ : state) {
        MemFile* m = write_mem(t);
        bytes += m->position;
        state.PauseTiming();
        MemClose(m);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(bytes);
    release(t);
}

// The encoding of the benchmark tree, made once; the tree it came from is
// freed before any read is timed.
const MemFile* encoded() {
    static MemFile* m = [] {
        ArbTree* t = build_tree();
        MemFile* mf = write_mem(t);
        release(t);
        return mf;
    }();
    return m;
}

// One read, untimed, before the timed ones. Freeing a tree whose 10^6 nodes
// were allocated in random key order leaves glibc's heap with millions of
// scattered small free blocks, which it merges only when a large block is
// next asked for, in whatever comes next. The warm-up takes that merge, so
// the timed reads measure the reader. BM_ReadMemFileAfterFree measures the
// read that pays it.
template <class Read>
void warm_up(Read read) {
    release(read());
}

void BM_ReadMemFile(benchmark::State& state) {
    MemFile* m = CopyMemFile(const_cast<MemFile*>(encoded()));
    const auto read = [&] {
        m->position = 0;
        return readArbTreeFromStream(m, 0);
    };
    warm_up(read);
    for (auto _ : state) {
        ArbTree* back = read();
        state.PauseTiming();
        release(back);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * m->size);
    MemClose(m);
}

// The first read after the tree was built by random insertion, written and
// freed: the time includes the allocator's merge of the freed blocks.
void BM_ReadMemFileAfterFree(benchmark::State& state) {
    ArbTree* t = build_tree();
    MemFile* m = MemOpen(1 << 20);
    writeArbTreeToStream(t, nullptr, m, 0);
    release(t);
    std::int64_t bytes = 0;
    for (auto _ : state) {
        m->position = 0;
        ArbTree* back = readArbTreeFromStream(m, 0);
        bytes += m->position;
        state.PauseTiming();
        release(back);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(bytes);
    MemClose(m);
}

const char* bench_file = "ostravine_bench_tree.bin";

void BM_WriteFile(benchmark::State& state) {
    ArbTree* t = build_tree();
    writeArbTreeToFile(t, bench_file);
    std::int64_t bytes = 0;
    for (auto _ : state) {
        writeArbTreeToFile(t, bench_file);
        state.PauseTiming();
        std::FILE* f = std::fopen(bench_file, "rb");
        std::fseek(f, 0, SEEK_END);
        bytes += std::ftell(f);
        std::fclose(f);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(bytes);
    release(t);
}

void BM_ReadFile(benchmark::State& state) {
    const MemFile* m = encoded();
    std::FILE* f = std::fopen(bench_file, "wb");
    std::fwrite(m->data, 1, m->position, f);
    std::fclose(f);
    warm_up([] { return readArbTreeFromFile(bench_file); });
    for (auto _ : state) {
        ArbTree* back = readArbTreeFromFile(bench_file);
        state.PauseTiming();
        release(back);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * m->position);
    std::remove(bench_file);
}

#define OSTR_PERSIST_BENCH(fn) \
    BENCHMARK(fn)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true)

OSTR_PERSIST_BENCH(BM_ArbTreeInsert);
OSTR_PERSIST_BENCH(BM_StdMapInsert);
OSTR_PERSIST_BENCH(BM_StdMapBoxedInsert);
OSTR_PERSIST_BENCH(BM_SearchTreeInsert);
OSTR_PERSIST_BENCH(BM_ArbTreeLookup);
OSTR_PERSIST_BENCH(BM_StdMapLookup);
OSTR_PERSIST_BENCH(BM_WriteMemFile);
OSTR_PERSIST_BENCH(BM_ReadMemFile);
OSTR_PERSIST_BENCH(BM_ReadMemFileAfterFree);
OSTR_PERSIST_BENCH(BM_WriteFile);
OSTR_PERSIST_BENCH(BM_ReadFile);

}  // namespace
