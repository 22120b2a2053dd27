#include "scheduler/changing_requests.h"

#include "dispatch/request_type.h"

#include <algorithm>
#include <iterator>

namespace panedeck::host {

namespace {

// By the last word of the operation: `filter:set` and `property:state:set` both end in "set". What these
// words mean is the same in all domains.
constexpr std::string_view changingVerbs[] = {"set", "apply", "new", "delete", "rename", "refinalize"};

std::string_view verbOf(std::string_view requestType) {
    const auto operation = splitRequestType(requestType).operation;
    return operation.substr(operation.rfind(':') + 1);
}

} // namespace

bool isChangingRequest(std::string_view requestType) {
    const auto verb = verbOf(requestType);
    return std::find(std::begin(changingVerbs), std::end(changingVerbs), verb) != std::end(changingVerbs);
}

} // namespace panedeck::host
