#include <server/project/ProjectXml.h>

namespace tetherserver {
namespace {

void WriteItem(const ProjectXmlItem& item, int depth, std::string& out) {
  const std::string indent(2 * static_cast<size_t>(depth), ' ');
  const char* element = item.folder ? "folder" : "composition";
  out += indent + "<" + element + " id=\"" + item.id.AsUTF8String() + "\" name=\"" + EscapeXmlAttribute(item.name) +
         "\"";
  for (const auto& [key, value] : item.attributes) {
    out += " " + key + "=\"" + EscapeXmlAttribute(value) + "\"";
  }
  if (item.children.empty()) {
    out += "/>\n";
    return;
  }
  out += ">\n";
  for (const auto& child : item.children) {
    WriteItem(child, depth + 1, out);
  }
  out += indent + "</" + element + ">\n";
}

}  // namespace

std::string EscapeXmlAttribute(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&apos;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string WriteProjectXml(const std::string& projectPath, const std::vector<ProjectXmlItem>& items) {
  std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  out += "<tetherProject version=\"1\" file=\"" + EscapeXmlAttribute(projectPath) + "\">\n";
  for (const auto& item : items) {
    WriteItem(item, 1, out);
  }
  out += "</tetherProject>\n";
  return out;
}

}  // namespace tetherserver
