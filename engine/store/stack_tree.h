#pragma once

#include "store/profile_data.h"

#include <vector>

namespace panedeck::engine {

/// Where each stack node's subtree ends: the descendants of node n are n + 1 up to, not including, `ends[n]`.
/// The nodes must be in preorder.
std::vector<CallsiteIndex> subtreeEnds(const std::vector<CallsiteIndex>& parents);

/// True if every subtree's nodes follow their root without a gap.
bool isPreorder(const std::vector<CallsiteIndex>& parents);

/// The preorder number of each node, children in the order of their old numbers. Parents must stand before
/// their children.
std::vector<CallsiteIndex> preorderNumbers(const std::vector<CallsiteIndex>& parents);

/// Renumbers the stack nodes in preorder, in the tree and in the samples. Does nothing if they are so
/// already.
void sortIntoPreorder(ProfileData& data);

} // namespace panedeck::engine
