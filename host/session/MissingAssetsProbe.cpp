#include <host/session/MissingAssetsProbe.h>

#include <tether/DarkslideServer.h>
#include <tether/EaselServer.h>
#include <tether/FileServer.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/SprocketServer.h>
#include <tether/TolmenServer.h>

#include <kilncore/string/UTFConversion.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <future>
#include <memory>

namespace tetherhost {
namespace {

using kilncore::string::UTF16to8;
using kilncore::string::UTF8to16;

// A server that doesn't answer within this long isn't asked any further.
constexpr std::chrono::seconds kAnswerLimit{60};

// Calls `start` with a callback and waits for the object it is given; null on
// a failure or when no answer comes in time.
template <typename T, typename Start>
std::shared_ptr<T> Await(Start start) {
  auto promise = std::make_shared<std::promise<std::shared_ptr<T>>>();
  auto answered = std::make_shared<std::once_flag>();
  std::future<std::shared_ptr<T>> future = promise->get_future();
  start([promise, answered](tether::ConnectionStatus status, const std::shared_ptr<T>& object) {
    std::call_once(*answered, [&] { promise->set_value(status == 0 ? object : nullptr); });
  });
  if (future.wait_for(kAnswerLimit) != std::future_status::ready) return nullptr;
  return future.get();
}

std::string Extension(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

std::shared_ptr<tether::GenericServer> ProjectOwner(const std::string& extension) {
  if (extension == ".marlp" || extension == ".marlpx" || extension == ".marlcap" || extension == ".marlgraphic") {
    return Await<tether::MarlServer>([](auto done) { tether::MarlServer::CreateTetherServer(done); });
  }
  if (extension == ".spkscene" || extension == ".spkproj") {
    return Await<tether::SprocketServer>([](auto done) { tether::SprocketServer::CreateTetherServer(done); });
  }
  if (extension == ".tlmproj" || extension == ".tlmprojx") {
    return Await<tether::TolmenServer>([](auto done) { tether::TolmenServer::CreateTetherServer(done); });
  }
  if (extension == ".dslcat") {
    return Await<tether::DarkslideServer>([](auto done) { tether::DarkslideServer::CreateTetherServer(done); });
  }
  return nullptr;
}

std::optional<MissingAssetsProbe::Report> AskEasel(const tether::File& file) {
  const auto typed = Await<tether::EaselServer>([](auto done) { tether::EaselServer::CreateTetherServer(done); });
  if (!typed) return std::nullopt;
  const auto fileServer = Await<tether::FileServer>([&](auto done) { typed->ConnectFileServer(done); });
  if (!fileServer) return std::nullopt;
  auto promise = std::make_shared<std::promise<std::optional<std::string>>>();
  auto answered = std::make_shared<std::once_flag>();
  auto future = promise->get_future();
  fileServer->OpenFile(
      [promise, answered](tether::ConnectionStatus status, const std::shared_ptr<tether::Source>& source,
                          const kilncore::WideString&, const kilncore::WideString& message, int) {
        std::call_once(*answered, [&] {
          promise->set_value(status == 0 && source ? std::optional<std::string>(UTF16to8(message)) : std::nullopt);
        });
      },
      file);
  if (future.wait_for(kAnswerLimit) != std::future_status::ready) return std::nullopt;
  const std::optional<std::string> note = future.get();
  if (!note) return std::nullopt;
  return MissingAssetsProbe::Report{{}, *note};
}

}  // namespace

std::optional<MissingAssetsProbe::Report> MissingAssetsProbe::Ask(const std::filesystem::path& path) {
  const tether::File file(UTF8to16(path.string()), false);
  const std::string extension = Extension(path);
  if (extension == ".esd") return AskEasel(file);
  const auto owner = ProjectOwner(extension);
  if (!owner) return std::nullopt;
  const auto server = Await<tether::Server>([&](auto done) { owner->ConnectLinkedServer(done); });
  if (!server) return std::nullopt;
  const auto project = Await<tether::Project>([&](auto done) { server->OpenProject(done, file); });
  if (!project) return std::nullopt;
  return Report{project->GetMissingAssets(), {}};
}

std::string MissingAssetsProbe::MediaText(const Report& report) {
  std::string text;
  if (!report.assets.files.empty()) {
    std::string files;
    for (const auto& file : report.assets.files) files += (files.empty() ? "" : ", ") + UTF16to8(file);
    text += "missing media: " + files + "\n";
  }
  if (!report.note.empty()) text += "missing:       " + report.note + "\n";
  return text;
}

std::vector<std::string> MissingAssetsProbe::MediaFiles(const std::optional<Report>& report) {
  std::vector<std::string> files;
  if (report) {
    for (const auto& file : report->assets.files) files.push_back(UTF16to8(file));
  }
  return files;
}

}  // namespace tetherhost
