#pragma once

#include "import/importer.h"

#include <span>

namespace panedeck::engine {

/// All importers, the most particular first: it wins when two fit equally well. A new format is a new
/// importer here.
std::span<const IImporter* const> importers();

} // namespace panedeck::engine
