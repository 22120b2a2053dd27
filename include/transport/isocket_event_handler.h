#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"

namespace panedeck {

/// What a host hands to `ISocketClient::create`: the receiver of everything that the GUI server sends.
///
/// All four operations are called on the client's I/O thread, one at a time. They must only queue work: while
/// one of them runs, nothing is read and nothing is written. None of them may close or release the client,
/// and what they send goes out after they have returned. The object outlives the client's connection.
class PANEDECK_API ISocketEventHandler {
public:
    /// A request came in. `request` holds all its parameters, `id` and `type` included; its content may be
    /// taken by `swap`. The two texts are valid during the call. A failure that comes back is answered with a
    /// response of type "error" under this id; so return one only if nothing else will answer.
    virtual bk2::error_code_t onRequest(const char* requestId, const char* requestType,
                                        bk2::variant_bag_t& request) = 0;

    /// An event came in. `event` holds all its values, `name` included; its content may be taken by `swap`. A
    /// failure that comes back is answered with a response of type "error" without an id.
    virtual bk2::error_code_t onEvent(const char* name, bk2::variant_bag_t& event) = 0;

    /// The connection broke. The client reconnects by itself; answers to requests of this connection are
    /// lost. It does so at its own fixed pace once this returns: a host that wants a slower one may wait
    /// here, and only here, as long as it ends the wait before it closes the client. There is nothing to be
    /// read or written meanwhile, and what is sent is dropped.
    virtual void onConnectionLost() = 0;

    /// A connection stands, the first or a further one. The handshake is already on its way, ahead of
    /// anything that is sent from here.
    virtual void onConnected() = 0;

    virtual ~ISocketEventHandler() = default;
};

} // namespace panedeck
