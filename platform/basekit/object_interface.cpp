#include "basekit/object_interface.h"

namespace bk2 {

object_interface_t::~object_interface_t() = default;

} // namespace bk2
