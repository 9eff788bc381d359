#pragma once

#include <host/session/LinkedClip.h>

#include <WF/IMediaModule.h>

#include <string>

namespace CLI {
class App;
}

namespace tetherhost {

class HostSession;

// Remote assets of a Farside service in tetherhost's `list` and `import`.
//
// The service is given by --farside URL and --token TOKEN on those commands,
// or by TETHERHOST_FARSIDE_URL and TETHERHOST_FARSIDE_TOKEN (which keeps the
// token out of the process list). A remote name is one of:
// - farside:PRODUCTION or farside:PRODUCTION@VERSION: a production (its
//   latest version without @); `import` takes the asset from --item, or the
//   production's first asset;
// - an asset name, {"production":…,"version":…,"asset":…};
// - a linked-asset text, {"production":…,"mediaPath":…,"version":…,"asset":…},
//   told from an asset name by its "mediaPath".

// Adds --farside and --token to `command`.
void AddFarsideOptions(CLI::App& command);

// Whether `text` is a remote name rather than a file path.
bool IsFarsideName(const std::string& text);

// `tetherhost list farside:PRODUCTION[@VERSION]`: the assets of a production,
// one a line: name, family, item and the text that links to it; with `json`,
// one JSON array of objects.
int RunFarsideList(HostSession& session, const std::string& name, bool json);

// Imports the remote asset `name` (`item` picks the asset of a production) as
// a new clip. Logs in first. Throws HostError with the module's code and the
// service's reason.
LinkedClip ImportFarsideAsset(WF::IMediaModule& module, const std::string& name, const std::string& item);

}  // namespace tetherhost
