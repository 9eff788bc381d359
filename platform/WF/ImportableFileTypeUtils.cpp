#include <WF/ImportableFileTypeUtils.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/FileUtils.h>

#include <boost/algorithm/string/predicate.hpp>

#include <initializer_list>
#include <string>

namespace WF::ImportableFileTypeUtils {
namespace {

bool HasOneOfExtensions(kilncore::WideStringView path,
                        std::initializer_list<const char16_t*> extensions) {
  const std::string extension = kilncore::utility::FileUtils::GetPathExtension(path, true);
  if (extension.empty()) return false;
  for (const char16_t* candidate : extensions) {
    if (boost::algorithm::iequals(extension, kilncore::string::UTF16to8(candidate))) return true;
  }
  return false;
}

}  // namespace

bool IsMarlProject(kilncore::WideStringView path, bool graphicsTemplateOnly) {
  if (graphicsTemplateOnly) return HasOneOfExtensions(path, {kMarlGraphicsTemplateExtension});
  return HasOneOfExtensions(path, {kMarlProjectExtension, kMarlXMLProjectExtension,
                                   kMarlTextTemplateExtension, kMarlGraphicsTemplateExtension});
}

bool IsSprocketProject(kilncore::WideStringView path) {
  return HasOneOfExtensions(path, {kSprocketProjectExtension});
}

bool IsTolmenProject(kilncore::WideStringView path) {
  return HasOneOfExtensions(path, {kTolmenProjectExtension_Legacy, kTolmenProjectExtension_Unified});
}

bool IsFCPProject(kilncore::WideStringView path) {
  return HasOneOfExtensions(path, {kFCPProjectExtension});
}

}  // namespace WF::ImportableFileTypeUtils
