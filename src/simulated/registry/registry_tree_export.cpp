#include "simulated/registry/registry_tree_export.h"

#include <algorithm>

namespace orv {
namespace {

// The key's path below the root of roots, with the classes root led to where it lies.
std::wstring CanonicalPath(std::wstring&& path) {
  const std::wstring_view root = std::wstring_view(path).substr(0, path.find(L'\\'));
  if (!EqualsIgnoringCase(root, kClassesRootName)) return std::move(path);
  return std::wstring(kClassesPath) + path.substr(root.size());
}

void ApplyValue(RegistryNode& node, ExportedValue&& value) {
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

void DeleteKey(RegistryNode& root, std::wstring_view path) {
  RegistryNode* node = root.Descend(path);
  if (node == nullptr || node->parent == nullptr) return;
  node->parent->children.Remove(*node);
}

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

bool ApplyExport(RegistryNode& root, RegistryExport content, FileError& error) {
  for (ExportedKey& key : content.keys) {
    const std::wstring path = CanonicalPath(std::move(key.path));
    if (key.deleted) {
      DeleteKey(root, path);
      continue;
    }
    RegistryNode* node = &root;
    std::wstring_view rest = path;
    std::size_t depth = 0;
    for (auto element = NextPathElement(rest); !element.empty(); element = NextPathElement(rest)) {
      if (++depth > kRegistryDepth) {
        error.line = key.line;
        error.reason = "the key lies more than " + std::to_string(kRegistryDepth) + " levels deep";
        return false;
      }
      RegistryNode* child = node->Child(element);
      node = child != nullptr ? child : &node->AddChild(element);
    }
    for (ExportedValue& value : key.values) ApplyValue(*node, std::move(value));
  }
  return true;
}

std::string ExportTree(const RegistryNode& root, ExportFormat format, std::string_view comment) {
  TreeExporter exporter(format, comment);
  for (const auto& child : root.children) exporter.Write(*child);
  if (exporter.writer().exact()) return exporter.writer().Take();
  format.encoding = ExportFormat::Encoding::Utf16;
  return ExportTree(root, format, comment);
}

}  // namespace orv
