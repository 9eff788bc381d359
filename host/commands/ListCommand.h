#pragma once

#include <filesystem>

namespace tetherhost {

class HostSession;

// `tetherhost list`: the compositions of a Marl project, depth first, one a
// line with its identifier, as a host's import dialog offers them.
int RunList(HostSession& session, const std::filesystem::path& project);

}  // namespace tetherhost
