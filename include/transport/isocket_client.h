#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"

namespace panedeck {

class ISocketEventHandler;

/// The library's one connection to the GUI server, which relays the panes' traffic.
///
/// The client connects, introduces itself with a handshake, hands requests and events to the host's
/// `ISocketEventHandler` and sends responses and events. When the connection breaks it reconnects by itself,
/// for ever, every 200 ms, and repeats the handshake, which is the first frame of each connection. A frame
/// belongs to the connection that stood, or was being made, when it was sent: nothing is kept for the next
/// one.
///
///     auto client = ISocketClient::create(&handler);
///     variant_bag_t params;
///     params.put<variant_t>("token", token);
///     client->connectToServer("127.0.0.1", port, "host", &params);
///     ...
///     client->sendResponse(id, type, &answer);   // any thread
///     ...
///     client->closeConnection();
///
/// The `send...` operations may be called from any thread at any time; they serialise on the caller's thread
/// and return when the frame is queued. `connectToServer`, `closeConnection` and the release of the last
/// reference belong to the owner: one thread at a time, and never the I/O thread (that is, never from inside
/// an `ISocketEventHandler`).
class PANEDECK_API ISocketClient : public bk2::object_interface_t {
public:
    ~ISocketClient() override = default;

    /// Starts the I/O thread and connects in the background: success says nothing about the connection,
    /// `onConnected` does. `hostname` is a numeric IPv4 or IPv6 address (with an optional scope); any other
    /// text throws `boost::system::system_error`, so check texts from outside first. `role` is what the
    /// handshake introduces the library as. `params` may be null; its content is taken and goes into each
    /// handshake; a text that is marked as a whole, see `sensitive_parameter`, goes without its marks, and
    /// not into the log. Further calls succeed and change nothing, also after `closeConnection` or after a
    /// call that threw. Null `hostname` or `role`: failure.
    virtual bk2::error_code_t connectToServer(const char* hostname, unsigned short port, const char* role,
                                              bk2::variant_bag_t* params) = 0;

    /// Answers a request. Each argument may be null, but not all of them; the payload's content is taken, so
    /// the caller's bag comes back empty. Goes out as XML if there is no type or its domain is `grid`,
    /// `filter`, `knob` or `property` or the type is `viewpoint:config`, else as JSON. Fails while the socket
    /// is closed and for a text of 100 MiB or more.
    virtual bk2::error_code_t sendResponse(const char* requestId, const char* type,
                                           bk2::variant_bag_t* payload) = 0;

    /// Answers a request with a response of type "error" that carries the failure's text. `requestId` may be
    /// null.
    virtual bk2::error_code_t sendErrorResponse(const char* requestId, const bk2::error_code_t& error) = 0;

    /// Answers a request with a response of type "canceled".
    virtual bk2::error_code_t notifyRequestCancel(const char* requestId) = 0;

    /// Sends an event to all panes. `payload` may be null.
    virtual bk2::error_code_t sendEvent(const char* name, const bk2::variant_bag_t* payload) = 0;

    /// Stops the I/O thread, waits for it and closes the socket; queued frames are lost. Takes up to 200 ms
    /// longer if the client is pausing between two attempts to connect. Closing twice is no failure.
    virtual bk2::error_code_t closeConnection() = 0;

    /// A client that is not connected yet. `handler` is not owned and may be null: then every incoming
    /// message is answered with an error.
    static bk2::sptr_t<ISocketClient> create(ISocketEventHandler* handler);
};

} // namespace panedeck
