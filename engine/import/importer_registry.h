#pragma once

#include "import/importer.h"

#include <span>

namespace panedeck::engine {

/// All importers, in the order in which they are asked. A new format is a new importer here.
std::span<const IImporter* const> importers();

} // namespace panedeck::engine
