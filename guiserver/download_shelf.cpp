#include "download_shelf.h"

#include "portkit/percent_encode.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace panedeck::guiserver {

namespace {

/// Whether a character may stand in a quoted string of a header without being misread anywhere.
bool is_plain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view(" -._()").find(c) != std::string_view::npos;
}

} // namespace

std::optional<DownloadPath> parse_download_path(std::string_view url_path) {
    constexpr std::string_view front = "/download/";
    if (!url_path.starts_with(front)) return std::nullopt;
    const std::string_view rest = url_path.substr(front.size());
    const std::size_t slash = rest.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const DownloadPath path{rest.substr(0, slash), rest.substr(slash + 1)};
    if (path.file_name.empty() || path.file_name.find('/') != std::string_view::npos) return std::nullopt;
    return path;
}

std::string attachment_header(std::string_view file_name) {
    std::string plain(file_name);
    std::replace_if(
        plain.begin(), plain.end(), [](char c) { return !is_plain(c); }, '_');
    return "attachment; filename=\"" + plain + "\"; filename*=UTF-8''" + portkit2::percent_encode(file_name);
}

DownloadShelf::Loan::Loan(DownloadShelf& shelf, std::string id, int descriptor)
    : m_shelf(shelf), m_id(std::move(id)), m_descriptor(descriptor) {}

DownloadShelf::Loan::~Loan() {
    if (m_descriptor >= 0) ::close(m_descriptor);
    m_shelf.m_lent.erase(m_id);
}

int DownloadShelf::Loan::take_descriptor() {
    return std::exchange(m_descriptor, -1);
}

void DownloadShelf::Loan::finish() {
    m_shelf.m_folder.remove_file(m_id);
}

std::shared_ptr<DownloadShelf::Loan> DownloadShelf::lend(std::string_view id) {
    if (!m_folder.is_open() || m_lent.contains(id)) return nullptr;
    const int descriptor = m_folder.open_file(id);
    if (descriptor < 0) return nullptr;
    m_lent.emplace(id);
    return std::make_shared<Loan>(*this, std::string(id), descriptor);
}

void DownloadShelf::remove_unfetched(std::chrono::system_clock::time_point now) {
    if (!m_folder.is_open()) return;
    m_folder.remove_files_before(now - lifetime,
                                 [this](const std::string& id) { return m_lent.contains(id); });
}

void DownloadShelf::remove_all() {
    if (!m_folder.is_open()) return;
    m_folder.remove_files_before(std::chrono::system_clock::time_point::max(),
                                 [](const std::string&) { return false; });
}

} // namespace panedeck::guiserver
