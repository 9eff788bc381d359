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

using PathTest = kilncore::utility::Seam<bool(kilncore::WideStringView)>;

}  // namespace

kilncore::utility::Seam<bool(kilncore::WideStringView, bool)>& IsMarlProjectSeam() {
  static auto* const seam = new kilncore::utility::Seam<bool(kilncore::WideStringView, bool)>(
      [](kilncore::WideStringView path, bool graphicsTemplateOnly) {
        if (graphicsTemplateOnly) return HasOneOfExtensions(path, {kMarlGraphicsTemplateExtension});
        return HasOneOfExtensions(path, {kMarlProjectExtension, kMarlXMLProjectExtension,
                                         kMarlTextTemplateExtension, kMarlGraphicsTemplateExtension});
      });
  return *seam;
}

PathTest& IsSprocketProjectSeam() {
  static auto* const seam = new PathTest(
      [](kilncore::WideStringView path) { return HasOneOfExtensions(path, {kSprocketProjectExtension}); });
  return *seam;
}

PathTest& IsTolmenProjectSeam() {
  static auto* const seam = new PathTest([](kilncore::WideStringView path) {
    return HasOneOfExtensions(path, {kTolmenProjectExtension_Legacy, kTolmenProjectExtension_Unified});
  });
  return *seam;
}

PathTest& IsFCPProjectSeam() {
  static auto* const seam =
      new PathTest([](kilncore::WideStringView path) { return HasOneOfExtensions(path, {kFCPProjectExtension}); });
  return *seam;
}

bool IsMarlProject(kilncore::WideStringView path, bool graphicsTemplateOnly) {
  return IsMarlProjectSeam()(path, graphicsTemplateOnly);
}

bool IsSprocketProject(kilncore::WideStringView path) { return IsSprocketProjectSeam()(path); }

bool IsTolmenProject(kilncore::WideStringView path) { return IsTolmenProjectSeam()(path); }

bool IsFCPProject(kilncore::WideStringView path) { return IsFCPProjectSeam()(path); }

}  // namespace WF::ImportableFileTypeUtils
