#pragma once

#include "basekit/error_code.h"
#include "basekit/variant_bag.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace panedeck::cli {

/// A pane without a browser: speaks to the relay through a WebSocket, as the page does. For one thread.
class PaneClient {
public:
    /// `interrupted` is asked a few times a second while an operation waits; a failure from it ends the wait
    /// and is the operation's result.
    explicit PaneClient(std::function<bk2::error_code_t()> interrupted);
    ~PaneClient();
    PaneClient(const PaneClient&) = delete;
    PaneClient& operator=(const PaneClient&) = delete;

    /// No operation waits beyond `patience` from now.
    void set_patience(std::chrono::seconds patience);

    /// Connects to the relay's page at `host`:`port` with the origin and the token that the relay wants.
    bk2::error_code_t connect(const std::string& host, const std::string& port, const std::string& token);

    /// Waits until the relay says that the library is connected.
    bk2::error_code_t wait_for_library();

    /// Sends a request and waits for its answer. `parameters` is what the request carries beside its id and
    /// type; `answer` becomes the payload. An `error` answer becomes a failure with its text.
    bk2::error_code_t request(const std::string& type, const bk2::variant_bag_t& parameters,
                              bk2::variant_bag_t& answer);

private:
    class Socket;

    bk2::error_code_t receive(bk2::variant_bag_t& message);

    std::unique_ptr<Socket> m_socket;
    unsigned m_last_id = 0;
};

} // namespace panedeck::cli
