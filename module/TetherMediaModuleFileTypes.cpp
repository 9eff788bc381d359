// The project types that the importer offers, by running application.

#include <module/TetherMediaModule.h>

#include <Crate/ApplicationType.h>
#include <KL/ProjectUtils.h>
#include <KL/UnifiedProject.h>
#include <TetherMedia/Lifecycle.h>
#include <kilncore/config/Localizer.h>
#include <tether/SprocketServer.h>

#include <cstdint>

namespace TetherMedia {
namespace {

// What the host's importer layer expects of every type of a linking importer.
constexpr uint32_t kFileTypeFlags = 0xD008;

// The applications that the list depends on.
constexpr int32_t kMarlApplication = 1;
constexpr int32_t kOtherHostApplication = 2;
constexpr int32_t kTolmenApplication = 5;
constexpr int32_t kAlternateRoadApplication = 8;
constexpr int32_t kCatalogueApplication = 11;

constexpr uint32_t FourCC(const char (&code)[5]) {
  return (static_cast<uint32_t>(static_cast<unsigned char>(code[0])) << 24) |
         (static_cast<uint32_t>(static_cast<unsigned char>(code[1])) << 16) |
         (static_cast<uint32_t>(static_cast<unsigned char>(code[2])) << 8) |
         static_cast<uint32_t>(static_cast<unsigned char>(code[3]));
}

WF::ImportableFileType MakeType(uint32_t code, kilncore::WideStringView key,
                                kilncore::WideString extensions) {
  WF::ImportableFileType type;
  type.fileType = code;
  type.description = kilncore::config::Localizer::Get().Localize(key);
  type.extensions = std::move(extensions);
  type.flags = kFileTypeFlags;
  return type;
}

// An application links projects of its own kind only when told to, since a
// project that links into itself can't be rendered.
bool OffersProjectsOf(int32_t owner, int32_t application) {
  return application != owner || AllowTetherToOwnProjectType();
}

void AppendMarlTypes(std::vector<WF::ImportableFileType>& result, int32_t application) {
  struct Row {
    uint32_t code;
    const char16_t* key;
    const char16_t* extensions;
  };
  static const Row kRows[] = {
      {FourCC("MrlP"), u"$$$/TetherMedia/marlProjectsExtension=Veldmoor Marl Projects (*.marlp)", u"*.marlp"},
      {FourCC("MrlX"), u"$$$/TetherMedia/marlxProjectsExtension=Veldmoor Marl Projects (*.marlpx)",
       u"*.marlpx"},
      {FourCC("MrlC"), u"$$$/TetherMedia/marlcapProjectsExtension=Text Template (*.marlcap)", u"*.marlcap"},
      {FourCC("MrlG"),
       u"$$$/TetherMedia/marlgraphicProjectsExtension=Motion Graphics Template (*.marlgraphic)",
       u"*.marlgraphic"},
  };
  for (const Row& row : kRows) {
    if (OffersProjectsOf(kMarlApplication, application)) {
      result.push_back(MakeType(row.code, row.key, row.extensions));
    }
  }
}

void AppendTolmenType(std::vector<WF::ImportableFileType>& result, int32_t application) {
  if (!OffersProjectsOf(kTolmenApplication, application)) return;
  kilncore::WideString extensions = kilncore::WideString(u"*") + KL::ProjectUtils::kTolmenProjectExtension_Legacy;
  const char16_t* key = KL::ProjectUtils::kTolmenProjectFilterKey_Legacy_Stable;
  if (KL::UnifiedProject::IsUnifiedProjectEnabled()) {
    key = KL::ProjectUtils::kTolmenProjectFilterKey_AllProjectTypes_PlusExtensions;
    extensions += kilncore::WideString(u";*") + KL::ProjectUtils::kTolmenProjectExtension_Unified;
  }
  result.push_back(MakeType(FourCC("TMLN"), key, std::move(extensions)));
}

}  // namespace

void TetherMediaModule::GetImportableFileTypes(std::vector<WF::ImportableFileType>& result) {
  const int32_t application = Crate::GetApplicationType();
  AppendMarlTypes(result, application);
  AppendTolmenType(result, application);
  if (application == kAlternateRoadApplication || application == kMarlApplication ||
      application == kOtherHostApplication || application == kTolmenApplication) {
    result.push_back(MakeType(FourCC("Spkt"),
                              u"$$$/TetherMedia/SprocketProjectsExtension=Sprocket Project (*.spkproj)",
                              u"*" + tether::SprocketServer::kSprocketSourceTypeProjectExtension));
  }
  if (application == kCatalogueApplication) {
    result.push_back(MakeType(FourCC("DSLC"),
                              u"$$$/TetherMedia/DarkslideProjectsExtension=Darkslide Catalog (*.dslcat)",
                              u"*.dslcat"));
    result.push_back(MakeType(FourCC("ESD "),
                              u"$$$/TetherMedia/EaselProjectsExtension=Easel Document (*.esd)",
                              u"*.esd"));
    result.push_back(MakeType(
        FourCC("FCPX"),
        u"$$$/TetherMedia/FinalCutProXMLProjectsExtension=Final Cut Pro XML (*.xml)", u"*.xml"));
  }
}

}  // namespace TetherMedia
