#pragma once

#include <string>
#include <vector>

namespace tetherhost {

// The readable text of a server's progress report. A report names its step by
// a localisation key with its default text behind an equals sign
// ("$$$/TetherServer/OpeningProject=Opening ^1"), where ^1, ^2, ... stand for
// its arguments. This host has no translations, so it shows the default text
// with the arguments put in; an argument that is a path is shown by its file
// name. A key without default text is shown as it is.
std::string ProgressText(const std::string& key, const std::vector<std::string>& arguments);

}  // namespace tetherhost
