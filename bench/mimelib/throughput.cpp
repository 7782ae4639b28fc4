// SPDX-License-Identifier: Apache-2.0

// Reads the same messages with mimelib and with GMime, pair by pair. Both start from the message in
// memory and do not copy it.

#include <cstdio>

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

#include "bench/mimelib/messages.h"
#include "bench/mimelib/readers.h"

namespace {

void use_mimelib(benchmark::State& state, const std::string& text) {
    const DwString message(text.data(), text.size());
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(read_with_mimelib(message));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void use_gmime(benchmark::State& state, const std::string& text) {
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(read_with_gmime(text));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Both must have read the same, or the comparison is worth nothing.
bool agree(const std::string& text) {
    const Extract ours = read_with_mimelib(DwString(text.data(), text.size()));
    const Extract theirs = read_with_gmime(text);
    return !ours.body.empty() && !ours.sender.empty() && ours.sender == theirs.sender &&
           ours.date == theirs.date && ours.charset == theirs.charset &&
           ours.body.substr(0, theirs.body.size()) == theirs.body;
}

bool add_pair(const std::string& name, const std::string& text) {
    if (!agree(text)) {
        std::fprintf(stderr, "%s: the two libraries read different things\n", name.c_str());
        return false;
    }
    benchmark::RegisterBenchmark((name + "/mimelib").c_str(),
                                 [text](benchmark::State& state) { use_mimelib(state, text); });
    benchmark::RegisterBenchmark((name + "/GMime").c_str(),
                                 [text](benchmark::State& state) { use_gmime(state, text); });
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr std::size_t kKilo = 1000;
    benchmark::Initialize(&argc, argv);
    g_mime_init();
    DwInitialize();
    bool added = add_pair("1 KB plain", plain_message(kKilo)) &&
                 add_pair("100 KB plain", plain_message(100 * kKilo));
    for (const std::size_t kilobytes : {100U, 10000U, 100000U}) {
        const std::string name = std::to_string(kilobytes) + " KB multipart, text ";
        added = added &&
                add_pair(name + "first", multipart_message(kilobytes * kKilo, TextPart::kFirst)) &&
                add_pair(name + "last", multipart_message(kilobytes * kKilo, TextPart::kLast));
    }
    if (!added) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
