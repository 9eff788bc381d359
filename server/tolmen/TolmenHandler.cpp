#include <server/tolmen/TolmenHandler.h>

#include <server/FailureReason.h>
#include <server/marl/MarlHandler.h>
#include <server/tolmen/HostProjectSession.h>

#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>
#include <ProjectXML/XmemlReader.h>

#include <tether/wire/Protocol.h>

#include <kilncore/debug/Trace.h>
#include <kilncore/logging/Log.h>
#include <kilncore/string/UTFConversion.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace tetherserver {

namespace {

bool IsHostProjectFile(const std::filesystem::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".tlmproj" || extension == ".tlmprojx";
}

// What a Final Cut Pro XML file carries that isn't rendered goes to the log.
void LogNote(const std::string& note) {
  if (kilncore::debug::TraceEnabled("TetherServer", 5, true)) kilncore::debug::Trace(5, "TetherServer", note);
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
  } catch (const ProjectXML::ProjectXMLError& error) {
    kilncore::logging::LogException(std::current_exception(), "tetherserver::TolmenHandler::OpenProject", path);
    FailureReason::Set(error.what());
    status = tether::wire::kStatusFailed;
    return nullptr;
  }
}

std::shared_ptr<const SessionItem> TolmenHandler::OpenFile(const tether::File& file, FileNotes& notes,
                                                           int32_t& status) const {
  const std::string path = kilncore::string::UTF16to8(file.FullPath());
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (extension != ".xml") return MarlHandler::OpenPlainFile(file, notes, status);
  if (!std::filesystem::exists(path)) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  try {
    // A plain file shows one item: its first sequence, in the file's order.
    const HostProjectSession project(ProjectXML::XmemlReader::ReadFile(path, LogNote), file);
    const std::vector<ProjectXML::Item> sequences = project.ListSequences();
    if (sequences.empty()) {
      status = tether::wire::kStatusNotFound;
      return nullptr;
    }
    notes.kind = "Final Cut Pro XML";
    notes.detail = static_cast<int32_t>(sequences.size());
    status = tether::wire::kStatusOK;
    return project.GetItem(sequences.front().id);
  } catch (const ProjectXML::ProjectXMLError& error) {
    kilncore::logging::LogException(std::current_exception(), "tetherserver::TolmenHandler::OpenFile", path);
    notes.message = error.what();
    FailureReason::Set(error.what());
    status = tether::wire::kStatusFailed;
    return nullptr;
  }
}

}  // namespace tetherserver
