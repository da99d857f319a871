// Base64 over 1 MB: our encoder and decoder beside a plain table loop, in bytes per second.
#include "Base/Text/Base64Encoder.h"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

constexpr unsigned int input_size = 1 << 20;
constexpr char table[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::vector<unsigned char> const & Bytes() {
    static std::vector<unsigned char> const bytes = [] {
        std::mt19937 random(64);
        std::vector<unsigned char> values(input_size);
        for (unsigned char & value : values) {
            value = static_cast<unsigned char>(random());
        }
        return values;
    }();
    return bytes;
}

std::string const & Text() {
    static std::string const text = [] {
        String const encoded = Base64Encoder::EncodeToBase64(Bytes().data(), input_size, STANDARD_ALPHABET);
        return std::string(encoded.c_str(), encoded.size());
    }();
    return text;
}

void EncodeQELTA(benchmark::State & state) {
    for (auto _ : state) {
        String const text = Base64Encoder::EncodeToBase64(Bytes().data(), input_size, STANDARD_ALPHABET);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * input_size);
}

void EncodeTableLoop(benchmark::State & state) {
    std::vector<unsigned char> const & bytes = Bytes();
    for (auto _ : state) {
        std::string text;
        text.reserve((input_size + 2) / 3 * 4);
        unsigned int index = 0;
        for (; index + 3 <= input_size; index += 3) {
            unsigned int const packed = (bytes[index] << 16) | (bytes[index + 1] << 8) | bytes[index + 2];
            text += table[packed >> 18];
            text += table[(packed >> 12) & 63];
            text += table[(packed >> 6) & 63];
            text += table[packed & 63];
        }
        if (index < input_size) {
            unsigned int const packed = (bytes[index] << 16) | (index + 1 < input_size ? bytes[index + 1] << 8 : 0);
            text += table[packed >> 18];
            text += table[(packed >> 12) & 63];
            text += index + 1 < input_size ? table[(packed >> 6) & 63] : '=';
            text += '=';
        }
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * input_size);
}

void DecodeQELTA(benchmark::State & state) {
    std::string const & text = Text();
    for (auto _ : state) {
        Buffer<unsigned char> const bytes =
            Base64Encoder::DecodeFromBase64(StringView(text.data(), static_cast<unsigned int>(text.size())));
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(state.iterations() * input_size);
}

void DecodeTableLoop(benchmark::State & state) {
    std::string const & text = Text();
    int values[256];
    for (int & value : values) {
        value = -1;
    }
    for (int i = 0; i < 64; ++i) {
        values[static_cast<unsigned char>(table[i])] = i;
    }
    for (auto _ : state) {
        std::vector<unsigned char> bytes;
        bytes.reserve(text.size() / 4 * 3);
        unsigned int bits = 0;
        int count = 0;
        for (char const c : text) {
            if (c == '=') {
                break;
            }
            int const value = values[static_cast<unsigned char>(c)];
            if (value < 0) {
                state.SkipWithError("invalid");
                break;
            }
            bits = (bits << 6) | static_cast<unsigned int>(value);
            if ((count += 6) >= 8) {
                count -= 8;
                bytes.push_back(static_cast<unsigned char>(bits >> count));
            }
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(state.iterations() * input_size);
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("Base64Encode1MB/QELTA", EncodeQELTA);
    benchmark::RegisterBenchmark("Base64Encode1MB/table loop", EncodeTableLoop);
    benchmark::RegisterBenchmark("Base64Decode1MB/QELTA", DecodeQELTA);
    benchmark::RegisterBenchmark("Base64Decode1MB/table loop", DecodeTableLoop);
    return true;
}();

} // namespace
} // namespace QELTA
