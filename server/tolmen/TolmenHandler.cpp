#include <server/tolmen/TolmenHandler.h>

#include <server/marl/MarlHandler.h>
#include <server/tolmen/HostProjectSession.h>

#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>

#include <tether/wire/Protocol.h>

#include <kilncore/logging/Log.h>
#include <kilncore/string/UTFConversion.h>

#include <filesystem>

namespace tetherserver {

namespace {

bool IsHostProjectFile(const std::filesystem::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".tlmproj" || extension == ".tlmprojx";
}

}  // namespace

std::string TolmenHandler::Application() const { return "Tolmen"; }

std::shared_ptr<const SessionProject> TolmenHandler::OpenProject(const tether::File& file, const std::string&,
                                                                 int32_t& status, const ProgressSink& progress) const {
  const std::string path = kilncore::string::UTF16to8(file.FullPath());
  if (!IsHostProjectFile(path)) {
    status = tether::wire::kStatusNotSupported;
    return nullptr;
  }
  if (!std::filesystem::exists(path)) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  if (progress) progress(kOpeningProgressType, 0.0, {path});
  try {
    auto project = std::make_shared<HostProjectSession>(ProjectXML::ProjectXMLReader::ReadFile(path), file);
    if (progress) progress(kOpeningProgressType, 1.0, {path});
    status = tether::wire::kStatusOK;
    return project;
  } catch (const ProjectXML::ProjectXMLError&) {
    kilncore::logging::LogException(std::current_exception(), "tetherserver::TolmenHandler::OpenProject", path);
    status = tether::wire::kStatusFailed;
    return nullptr;
  }
}

std::shared_ptr<const SessionItem> TolmenHandler::OpenFile(const tether::File& file, FileNotes& notes,
                                                           int32_t& status) const {
  return MarlHandler::OpenPlainFile(file, notes, status);
}

}  // namespace tetherserver
