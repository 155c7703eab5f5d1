#include "YamlDocument.h"

#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/eventhandler.h>

#include <sstream>
#include <utility>
#include <vector>

namespace storageio_cli {
namespace {

// Everything in a document that the description refuses, in document order, found from the
// parser's events before any node exists.
class RefusedConstructs : public YAML::EventHandler {
 public:
  std::vector<std::pair<YAML::Mark, std::string>> found;

  void OnDocumentStart(const YAML::Mark&) override {}
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override { NoteAnchor(mark, anchor); }
  void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override {
    found.emplace_back(mark, "aliases (*name) are not allowed; write the value out");
  }
  void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor, const std::string&) override {
    NoteAnchor(mark, anchor);
  }
  void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value) override {
    NoteAnchor(mark, anchor);
  }
  void OnSequenceEnd() override {}
  void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value) override {
    NoteAnchor(mark, anchor);
  }
  void OnMapEnd() override {}

 private:
  void NoteAnchor(const YAML::Mark& mark, YAML::anchor_t anchor) {
    if (anchor != YAML::NullAnchor) found.emplace_back(mark, "anchors (&name) are not allowed; write the value out");
  }
};

// Only where the next document starts matters: it is refused whatever it holds.
class DocumentStart : public RefusedConstructs {
 public:
  YAML::Mark mark = YAML::Mark::null_mark();
  void OnDocumentStart(const YAML::Mark& start) override { mark = start; }
};

}  // namespace

std::optional<YAML::Node> ParseSingleDocument(const std::string& text, DescriptionErrors& errors) {
  std::istringstream stream(text);
  YAML::Parser parser(stream);
  RefusedConstructs first;
  DocumentStart second;
  bool hasFirst = false;
  bool hasSecond = false;
  try {
    hasFirst = parser.HandleNextDocument(first);
    hasSecond = hasFirst && parser.HandleNextDocument(second);
  } catch (const YAML::DeepRecursion& deep) {
    // yaml-cpp's own message for this is only "bad file".
    errors.Add(deep.mark, "(document)", "nests too deeply");
    return std::nullopt;
  } catch (const YAML::ParserException& syntax) {
    errors.Add(syntax.mark, "(document)", syntax.msg);
    return std::nullopt;
  }
  if (!hasFirst) {
    errors.Add(YAML::Mark::null_mark(), "(document)", "is empty");
    return std::nullopt;
  }
  for (const auto& [mark, what] : first.found) errors.Add(mark, "(document)", what);
  if (hasSecond) errors.Add(second.mark, "(document)", "holds a second document; a description is one document");
  if (!first.found.empty() || hasSecond) return std::nullopt;
  return YAML::Load(text);
}

}  // namespace storageio_cli
