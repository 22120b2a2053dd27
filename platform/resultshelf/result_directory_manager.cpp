#include "resultshelf/result_directory_manager.h"

#include "portkit/ustring8.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace resultshelf2 {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view analysis_type_mark = "{at}";
constexpr std::size_t longest_pattern = 200; // a file name has 255 bytes; counter and analysis type need some

bool is_forbidden(char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7f || character == '/' ||
           character == '\\';
}

std::string replace_all(std::string text, std::string_view mark, std::string_view by) {
    for (std::size_t place = text.find(mark); place != std::string::npos;
         place = text.find(mark, place + by.size())) {
        text.replace(place, mark.size(), by);
    }
    return text;
}

std::string padded(unsigned counter, std::size_t width) {
    const std::string digits = std::to_string(counter);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

/// The number that `name` has where the pattern has its counter; false if it does not begin like the pattern.
bool counter_of(const std::string& name, const std::string& ahead, unsigned& counter) {
    if (name.compare(0, ahead.size(), ahead) != 0) return false;
    const auto parsed = std::from_chars(name.data() + ahead.size(), name.data() + name.size(), counter);
    return parsed.ec == std::errc();
}

/// One more than the highest counter in use, `first` if there is none.
unsigned next_counter(const std::string& parent, const std::string& pattern, const std::string& analysis_type,
                      unsigned first) {
    const std::string ahead =
        replace_all(pattern.substr(0, pattern.find('@')), analysis_type_mark, analysis_type);
    unsigned next = first;
    std::error_code error;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end; entry.increment(error)) {
        unsigned counter = 0;
        if (counter_of(entry->path().filename().string(), ahead, counter) && counter < 999'999'999) {
            next = std::max(next, counter + 1);
        }
    }
    return next;
}

/// True if the directory is new; false without an error if something of that name is there.
bool make_directory(const fs::path& directory, std::string& path, std::error_code& error) {
    const bool made = fs::create_directory(directory, error);
    if (error == std::errc::file_exists) error.clear();
    if (made) path = directory.string();
    return made;
}

bk2::error_code_t path_failure(const fs::path& path, const std::error_code& error) {
    return bk2::error_code_t::failure(path.string() + ": " + error.message());
}

} // namespace

std::string ResultDirectoryManager::getDefaultResultDirectoryName() {
    return "r@@@";
}

bool ResultDirectoryManager::validateResultDirectoryPattern(const std::string& pattern) {
    return !pattern.empty() && pattern.size() <= longest_pattern && pattern != "." && pattern != ".." &&
           portkit2::is_valid_utf8(pattern) && std::none_of(pattern.begin(), pattern.end(), is_forbidden);
}

std::string ResultDirectoryManager::formResultDirectoryName(const std::string& pattern,
                                                            const std::string& analysis_type,
                                                            unsigned counter) {
    const std::size_t begin = pattern.find('@');
    if (begin == std::string::npos) return replace_all(pattern, analysis_type_mark, analysis_type);
    const std::size_t end = std::min(pattern.find_first_not_of('@', begin), pattern.size());
    return replace_all(pattern.substr(0, begin), analysis_type_mark, analysis_type) +
           padded(counter, end - begin) + replace_all(pattern.substr(end), analysis_type_mark, analysis_type);
}

bk2::error_code_t ResultDirectoryManager::createNextResultDirectory(const std::string& parent,
                                                                    const std::string& pattern,
                                                                    const std::string& analysis_type,
                                                                    std::string& path) {
    if (!validateResultDirectoryPattern(pattern)) {
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument,
                                        "Result directory pattern cannot be used: " + pattern);
    }
    std::error_code error;
    fs::create_directories(parent, error);
    if (error) return path_failure(parent, error);

    std::string counted = pattern;
    if (pattern.find('@') == std::string::npos) {
        if (make_directory(fs::path(parent) / formResultDirectoryName(pattern, analysis_type, 0), path,
                           error)) {
            return bk2::error_code_t::success();
        }
        if (error) return path_failure(parent, error);
        counted += "-@";
    }
    // Another program may take the name between the look and the making: then the next number is tried.
    for (unsigned counter = next_counter(parent, counted, analysis_type, counted == pattern ? 0 : 1);;
         ++counter) {
        const fs::path made = fs::path(parent) / formResultDirectoryName(counted, analysis_type, counter);
        if (make_directory(made, path, error)) return bk2::error_code_t::success();
        if (error) return path_failure(made, error);
    }
}

} // namespace resultshelf2
