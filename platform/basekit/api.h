#pragma once

/// Marks what a shared library of this project exports; everything else is hidden.
#define PANEDECK_API [[gnu::visibility("default")]]
