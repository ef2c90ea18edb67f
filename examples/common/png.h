#pragma once

#include <string>

namespace examples {

/// Converts a PostScript file to a PNG of the same name beside it, or says that ghostscript could not. Throws
/// terrain::BadInput where there is no such file: a drawing that cannot be written only gives a warning.
void addPng(const std::string& filename);

}  // namespace examples
