#include "simulated/registry/registry_tree_export.h"

#include <algorithm>

namespace orv {
namespace {

bool IsClassesRoot(std::wstring_view path) noexcept {
  return EqualsIgnoringCase(path.substr(0, path.find(L'\\')), kClassesRootName);
}

// Puts the keys and values of an export into a tree.
class TreeImporter final : public RegistryExportSink {
 public:
  explicit TreeImporter(RegistryNode& root) : root_(root) {}

  std::string Key(std::wstring_view path, bool deleted) override {
    std::wstring classes_path;
    if (IsClassesRoot(path)) {  // a view of another key
      classes_path = kClassesPath;
      classes_path += path.substr(kClassesRootName.size());
      path = classes_path;
    }
    if (!deleted) return Enter(path);
    steps_.clear();
    RegistryNode* node = root_.Descend(path);
    if (node != nullptr && node->parent != nullptr) node->parent->children.Remove(*node);
    return {};
  }

  void Value(ExportedValue&& value) override {
    RegistryNode& node = *steps_.back().node;
    RegistryValue* held = node.values.Find(value.name);
    if (value.deleted) {
      if (held != nullptr) node.values.Remove(*held);
    } else if (held != nullptr) {
      held->type = value.type;
      held->bytes = std::move(value.bytes);
    } else {
      node.AddValue(std::move(value.name), value.type, std::move(value.bytes));
    }
  }

 private:
  struct Step {
    std::size_t end;  // of the element in path_
    RegistryNode* node;
  };

  // Most keys share the beginning of their path with the key before them.
  std::string Enter(std::wstring_view path) {
    const auto same = static_cast<std::size_t>(
        std::mismatch(path.begin(), path.end(), path_.begin(), path_.end()).first - path.begin());
    const auto shared = [&](const Step& step) {
      return step.end <= same && (step.end == path.size() || path[step.end] == L'\\');
    };
    while (!steps_.empty() && !shared(steps_.back())) steps_.pop_back();
    path_ = path;
    std::wstring_view rest = path;
    if (!steps_.empty()) rest.remove_prefix(steps_.back().end);
    for (auto element = NextPathElement(rest); !element.empty(); element = NextPathElement(rest)) {
      if (steps_.size() == kRegistryDepth)
        return "the key lies more than " + std::to_string(kRegistryDepth) + " levels deep";
      RegistryNode& parent = steps_.empty() ? root_ : *steps_.back().node;
      RegistryNode* child = parent.Child(element);
      steps_.push_back(
          {path.size() - rest.size(), child != nullptr ? child : &parent.AddChild(element)});
    }
    return {};
  }

  RegistryNode& root_;
  std::wstring path_;        // of the present key
  std::vector<Step> steps_;  // the keys on its way
};

class TreeExporter {
 public:
  TreeExporter(ExportFormat format, std::string_view comment) : writer_(format, comment) {}

  void Write(const RegistryNode& node) {
    const std::size_t parent_length = path_.size();
    const bool is_root = path_.empty();
    if (!is_root) path_ += L'\\';
    path_ += node.name;
    if (!node.values.empty() || (node.children.empty() && !is_root)) {
      writer_.Key(path_);
      for (const auto& value : node.values) writer_.Value(value->name, value->type, value->bytes);
    }
    for (const auto& child : node.children) Write(*child);
    path_.resize(parent_length);
  }
  RegistryExportWriter& writer() noexcept { return writer_; }

 private:
  RegistryExportWriter writer_;
  std::wstring path_;
};

}  // namespace

RegistryNodePtr MakeEmptyRegistry() {
  auto root = std::make_shared<RegistryNode>();
  root->AddChild(kLocalMachineName);
  root->AddChild(kCurrentUserName);
  return root;
}

std::optional<ExportFormat> ApplyExport(RegistryNode& root, std::string_view text,
                                        FileError& error) {
  TreeImporter importer(root);
  return ReadRegistryExport(text, importer, error);
}

std::string ExportTree(const RegistryNode& root, ExportFormat format, std::string_view comment) {
  TreeExporter exporter(format, comment);
  for (const auto& child : root.children) exporter.Write(*child);
  if (exporter.writer().exact()) return exporter.writer().Take();
  format.encoding = ExportFormat::Encoding::Utf16;
  return ExportTree(root, format, comment);
}

}  // namespace orv
