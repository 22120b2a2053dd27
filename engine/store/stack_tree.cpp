#include "store/stack_tree.h"

#include <algorithm>

namespace panedeck::engine {

std::vector<CallsiteIndex> subtreeEnds(const std::vector<CallsiteIndex>& parents) {
    std::vector<CallsiteIndex> ends(parents.size());
    for (CallsiteIndex node = 0; node < ends.size(); ++node)
        ends[node] = node + 1;
    for (std::size_t node = parents.size(); node-- > 1;)
        ends[parents[node]] = std::max(ends[parents[node]], ends[node]);
    return ends;
}

bool isPreorder(const std::vector<CallsiteIndex>& parents) {
    // A node's parent must be on the path from the node before it to the root. The walk up is paid for by the
    // walk down that made the path.
    for (CallsiteIndex node = 1; node < parents.size(); ++node) {
        CallsiteIndex open = node - 1;
        while (open > parents[node])
            open = parents[open];
        if (open != parents[node]) return false;
    }
    return true;
}

std::vector<CallsiteIndex> preorderNumbers(const std::vector<CallsiteIndex>& parents) {
    // A node's number is its parent's number, plus one, plus the sizes of the siblings before it.
    const std::size_t count = parents.size();
    std::vector<CallsiteIndex> sizes(count, 1);
    for (std::size_t node = count; node-- > 1;)
        sizes[parents[node]] += sizes[node];
    std::vector<CallsiteIndex> numbers(count, 0);
    std::vector<CallsiteIndex> next_child(count, 1);
    for (std::size_t node = 1; node < count; ++node) {
        const CallsiteIndex parent = parents[node];
        numbers[node] = next_child[parent];
        next_child[parent] += sizes[node];
        next_child[node] = numbers[node] + 1;
    }
    return numbers;
}

void sortIntoPreorder(ProfileData& data) {
    if (isPreorder(data.callsite_parents)) return;
    const std::vector<CallsiteIndex> numbers = preorderNumbers(data.callsite_parents);
    std::vector<CallsiteIndex> parents(numbers.size());
    std::vector<FunctionIndex> functions(numbers.size());
    for (std::size_t node = 0; node < numbers.size(); ++node) {
        parents[numbers[node]] = numbers[data.callsite_parents[node]];
        functions[numbers[node]] = data.callsite_functions[node];
    }
    data.callsite_parents = std::move(parents);
    data.callsite_functions = std::move(functions);
    for (CallsiteIndex& callsite : data.sample_callsites)
        callsite = numbers[callsite];
}

} // namespace panedeck::engine
