#pragma once

#include <map>
#include <string>

namespace panedeck {

/// The links of a help index under their terms: an XML file of elements `Keyword` (attribute `Term`) below
/// the root, each with a `Jump` (attribute `Url`); an element without these is left out, of two with one term
/// the later counts. Empty for a file that does not exist. So is, with a warning in the log, one that is no
/// XML or that declares a document type: nothing of the file makes the reader open another one or multiply
/// its text.
std::map<std::string, std::string> readHelpIndex(const std::string& path);

} // namespace panedeck
