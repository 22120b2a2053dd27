#include "basekit/broken_pipes.h"

#include <csignal>

namespace bk2 {

void ignore_broken_pipes() {
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace bk2
