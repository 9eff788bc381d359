#include <host/cli/ProgressText.h>

#include <filesystem>

namespace tetherhost {
namespace {

std::string Readable(const std::string& argument) {
  if (argument.find('/') == std::string::npos) return argument;
  return std::filesystem::path(argument).filename().string();
}

}  // namespace

std::string ProgressText(const std::string& key, const std::vector<std::string>& arguments) {
  const size_t equals = key.find('=');
  if (equals == std::string::npos) return key;
  const std::string text = key.substr(equals + 1);
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool placeholder = text[i] == '^' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9';
    if (!placeholder) {
      out += text[i];
      continue;
    }
    const size_t index = static_cast<size_t>(text[i + 1] - '1');
    if (index < arguments.size()) out += Readable(arguments[index]);
    ++i;
  }
  return out;
}

}  // namespace tetherhost
