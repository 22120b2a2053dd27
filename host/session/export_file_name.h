#pragma once

#include <string>
#include <string_view>

namespace panedeck::host {

/// The name under which a browser stores an export, from what the asker wishes: a plain name of at most 100
/// bytes that ends in ".csv", without folders, control characters or what some file system refuses.
/// "export.csv" if nothing is left of the wish.
std::string exportFileName(std::string_view wish);

} // namespace panedeck::host
