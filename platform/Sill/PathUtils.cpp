#include <Sill/PathUtils.h>

namespace Sill::PathUtils {

kilncore::WideString GetFullFilePart(kilncore::WideStringView path) {
  const auto separator = path.find_last_of(u"/\\");
  if (separator == kilncore::WideStringView::npos) return kilncore::WideString(path);
  return kilncore::WideString(path.substr(separator + 1));
}

kilncore::WideString GetFilePart(kilncore::WideStringView path) {
  kilncore::WideString name = GetFullFilePart(path);
  const auto dot = name.rfind(u'.');
  if (dot != kilncore::WideString::npos && dot != 0) name.erase(dot);
  return name;
}

}  // namespace Sill::PathUtils
