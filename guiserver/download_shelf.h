#pragma once

#include "settingshub/private_folder.h"

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace panedeck::guiserver {

/// What a download's path says: "/download/RANDOM/NAME".
struct DownloadPath {
    std::string_view id;        ///< the file in the shared folder
    std::string_view file_name; ///< what the browser is to call it; free for the page to choose
};

/// Nothing for any other path. `url_path` is decoded and outlives the result.
std::optional<DownloadPath> parse_download_path(std::string_view url_path);

/// The header `Content-Disposition` that makes a browser store an answer under that name.
std::string attachment_header(std::string_view file_name);

/// The files that the host exported into the folder that it shares with the relay, handed out once each. A
/// file counts as fetched, and is removed, when its last byte has gone out; a fetch that breaks off before
/// may be repeated. Belongs to one thread.
class DownloadShelf {
public:
    /// For how long a file is kept for its fetching.
    static constexpr std::chrono::minutes lifetime{10};

    /// A file on its way to a browser. It can be lent again when this object goes, unless it was finished.
    class Loan {
    public:
        Loan(DownloadShelf& shelf, std::string id, int descriptor);
        ~Loan();
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        /// A descriptor for reading, for the caller to close; -1 from the second call on.
        int take_descriptor();
        /// The file has gone out.
        void finish();

    private:
        DownloadShelf& m_shelf;
        std::string m_id;
        int m_descriptor;
    };

    /// Without a folder there is nothing to hand out.
    explicit DownloadShelf(settingshub2::PrivateFolder folder) : m_folder(std::move(folder)) {}

    /// Null if there is no such file, or while it is lent. The shelf outlives the loan.
    std::shared_ptr<Loan> lend(std::string_view id);

    /// Removes what nobody has fetched within `lifetime` before `now`.
    void remove_unfetched(std::chrono::system_clock::time_point now);
    /// Removes all, at the end.
    void remove_all();

private:
    settingshub2::PrivateFolder m_folder;
    std::set<std::string, std::less<>> m_lent;
};

} // namespace panedeck::guiserver
