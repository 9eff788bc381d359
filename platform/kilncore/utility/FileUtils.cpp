#include <kilncore/utility/FileUtils.h>

#include <kilncore/string/UTFConversion.h>

#include <filesystem>
#include <system_error>

namespace kilncore::utility::FileUtils {

bool FileOrDirExists(WideStringView path) {
  if (path.empty()) return false;
  const std::string utf8 = kilncore::string::UTF16to8(path);
  // An embedded NUL can't be part of a real path; the system would cut the
  // text there and may find something else.
  if (utf8.find('\0') != std::string::npos) return false;
  std::error_code error;
  const auto status = std::filesystem::status(std::filesystem::path(utf8), error);
  return !error && std::filesystem::exists(status);
}

std::string GetPathExtension(WideStringView path, bool withDot) {
  const size_t separator = path.find_last_of(u"/\\");
  const WideStringView name =
      separator == WideStringView::npos ? path : path.substr(separator + 1);
  const size_t dot = name.rfind(u'.');
  if (dot == WideStringView::npos || dot == 0) return std::string();
  return kilncore::string::UTF16to8(name.substr(withDot ? dot : dot + 1));
}

}  // namespace kilncore::utility::FileUtils
