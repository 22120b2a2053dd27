// Drives a fuzz target where libFuzzer is not at hand: feeds it the files it is given, then mutations of
// them.
//
//     fuzz_NAME [-runs=N] [-seed=N] [-first=N] [-seconds=N] FILE|FOLDER...
//
// Run number i depends on the seed and i alone. When the target dies, the seed and i are printed: -seed=S
// -first=I -runs=1 with the same files repeats that run.

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace {

constexpr std::size_t most_bytes = 20'000;

struct Options {
    std::uint64_t runs = 1000;
    std::uint64_t seed = 1;
    std::uint64_t first = 0;
    std::uint64_t seconds = 0; ///< 0 is no limit
    std::vector<std::string> paths;
};

std::uint64_t current_seed = 0;
std::uint64_t current_run = 0;
std::string current_file;

void sayWhere() {
    if (!current_file.empty())
        std::fprintf(stderr, "died on the file %s\n", current_file.c_str());
    else
        std::fprintf(stderr, "died in -seed=%llu -first=%llu -runs=1\n",
                     static_cast<unsigned long long>(current_seed),
                     static_cast<unsigned long long>(current_run));
}

void onAbort(int) {
    sayWhere();
    std::_Exit(1);
}

bool takeNumber(std::string_view argument, std::string_view name, std::uint64_t& value) {
    if (!argument.starts_with(name)) return false;
    argument.remove_prefix(name.size());
    return std::from_chars(argument.data(), argument.data() + argument.size(), value).ec == std::errc();
}

bool parse(int count, char** arguments, Options& options) {
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (takeNumber(argument, "-runs=", options.runs) || takeNumber(argument, "-seed=", options.seed) ||
            takeNumber(argument, "-first=", options.first) ||
            takeNumber(argument, "-seconds=", options.seconds))
            continue;
        if (argument.starts_with('-')) return false;
        options.paths.emplace_back(argument);
    }
    return !options.paths.empty();
}

std::vector<std::string> findFiles(const std::vector<std::string>& paths) {
    std::vector<std::string> files;
    for (const std::string& path : paths) {
        if (!std::filesystem::is_directory(path)) {
            files.push_back(path);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
            if (entry.is_regular_file()) files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void runOn(const std::string& input) {
    // A block of its own size: reading past the end is then seen by the sanitizers.
    const std::vector<unsigned char> bytes(input.begin(), input.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

/// Changes an input a little, many times.
class Mutator {
public:
    Mutator(const std::vector<std::string>& corpus, std::uint64_t seed, std::uint64_t run)
        : m_corpus(corpus), m_random(seed * 0x9E3779B97F4A7C15ULL + run) {}

    std::string make() {
        std::string text = m_corpus[below(m_corpus.size())];
        for (std::size_t changes = 1 + below(8); changes > 0; --changes)
            change(text);
        if (text.size() > most_bytes) text.resize(most_bytes);
        return text;
    }

private:
    std::size_t below(std::size_t limit) { return limit ? m_random() % limit : 0; }
    std::size_t shortLength(std::size_t limit) { return std::min(limit, below(8) ? below(16) : below(2000)); }

    void change(std::string& text) {
        const std::size_t at = below(text.size() + 1);
        const std::size_t length = shortLength(text.size() - at);
        switch (below(8)) {
        case 0:
            if (at < text.size()) text[at] = static_cast<char>(m_random());
            break;
        case 1:
            if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << below(8)));
            break;
        case 2:
            text.erase(at, length);
            break;
        case 3:
            text.insert(at, text.substr(below(text.size() + 1), length));
            break;
        case 4:
            text.insert(at, shortLength(2000), static_cast<char>(m_random()));
            break;
        case 5:
            text.insert(at, someToken());
            break;
        case 6:
            splice(text, at);
            break;
        default:
            text.resize(at);
        }
    }

    // Pieces that mean something to the readers of this project.
    std::string_view someToken() {
        static constexpr std::string_view tokens[] = {"\n",
                                                      "\r\n",
                                                      ";",
                                                      " ",
                                                      "\t",
                                                      "0",
                                                      "-1",
                                                      "9223372036854775807",
                                                      "18446744073709551616",
                                                      "1.5",
                                                      "1e308",
                                                      ":",
                                                      "[",
                                                      "]",
                                                      "{",
                                                      "}",
                                                      "\"",
                                                      "\\",
                                                      "\\ud834",
                                                      "null",
                                                      "(",
                                                      ")",
                                                      "</",
                                                      "<",
                                                      ">",
                                                      "&",
                                                      "]]>",
                                                      "<!--",
                                                      "\x0B",
                                                      "\xEF\xBB\xBF",
                                                      "\xFF\xFE",
                                                      "\x1F\x8B",
                                                      "\xC3",
                                                      std::string_view("\0", 1)};
        return tokens[below(std::size(tokens))];
    }

    void splice(std::string& text, std::size_t at) {
        const std::string& other = m_corpus[below(m_corpus.size())];
        text.resize(at);
        text += other.substr(below(other.size() + 1));
    }

    const std::vector<std::string>& m_corpus;
    std::mt19937_64 m_random;
};

std::vector<std::string> replay(const std::vector<std::string>& files) {
    std::vector<std::string> corpus;
    for (const std::string& file : files) {
        current_file = file;
        corpus.push_back(readFile(file));
        runOn(corpus.back());
    }
    current_file.clear();
    return corpus;
}

std::uint64_t mutate(const std::vector<std::string>& corpus, const Options& options) {
    const auto begin = std::chrono::steady_clock::now();
    current_seed = options.seed;
    std::uint64_t done = 0;
    for (; done < options.runs; ++done) {
        const auto spent = std::chrono::steady_clock::now() - begin;
        if (options.seconds && spent > std::chrono::seconds(options.seconds)) break;
        current_run = options.first + done;
        runOn(Mutator(corpus, current_seed, current_run).make());
    }
    return done;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    if (!parse(count, arguments, options)) {
        std::fprintf(stderr, "usage: %s [-runs=N] [-seed=N] [-first=N] [-seconds=N] FILE|FOLDER...\n",
                     arguments[0]);
        return 2;
    }
    std::signal(SIGABRT, onAbort);
    if (__sanitizer_set_death_callback) __sanitizer_set_death_callback(sayWhere);
    const std::vector<std::string> files = findFiles(options.paths);
    if (files.empty()) {
        std::fprintf(stderr, "no inputs to begin with\n");
        return 1;
    }
    const std::vector<std::string> corpus = replay(files);
    const std::uint64_t runs = mutate(corpus, options);
    std::printf("%zu inputs, %llu mutations, seed %llu: all well\n", corpus.size(),
                static_cast<unsigned long long>(runs), static_cast<unsigned long long>(options.seed));
    return 0;
}
