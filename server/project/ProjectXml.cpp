#include <server/project/ProjectXml.h>

#include <pugixml.hpp>

#include <sstream>

namespace tetherserver {
namespace {

void WriteItem(const ProjectXmlItem& item, pugi::xml_node parent) {
  pugi::xml_node node = parent.append_child(item.folder ? "folder" : "composition");
  node.append_attribute("id") = item.id.AsUTF8String().c_str();
  node.append_attribute("name") = item.name.c_str();
  for (const auto& [key, value] : item.attributes) node.append_attribute(key.c_str()) = value.c_str();
  for (const auto& child : item.children) WriteItem(child, node);
}

}  // namespace

std::string WriteProjectXml(const std::string& projectPath, const std::vector<ProjectXmlItem>& items) {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "UTF-8";
  pugi::xml_node root = document.append_child("tetherProject");
  root.append_attribute("version") = "1";
  root.append_attribute("file") = projectPath.c_str();
  for (const auto& item : items) WriteItem(item, root);
  std::ostringstream out;
  document.save(out, "  ", pugi::format_indent, pugi::encoding_utf8);
  return out.str();
}

}  // namespace tetherserver
