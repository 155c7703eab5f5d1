#pragma once
// The single YAML document of a test description, parsed into nodes only once it is known to be
// safe to build: valid YAML, one document, and no anchors or aliases (an alias repeats a whole
// subtree, so a few lines could expand into more nodes than memory holds).

#include <yaml-cpp/yaml.h>

#include <optional>
#include <string>

#include "DescriptionFields.h"

namespace storageio_cli {

// The root node of `text`. Returns nullopt after adding to `errors`: one error for a syntax error
// (the parser's message and position) or a text without a document, one for each anchor, alias
// and document beyond the first. Throws what yaml-cpp throws besides its ParserException, which
// should be nothing; the caller still guards against it.
std::optional<YAML::Node> ParseSingleDocument(const std::string& text, DescriptionErrors& errors);

}  // namespace storageio_cli
