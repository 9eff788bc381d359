#include <kilncore/filesupport/File.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/FileUtils.h>

namespace kilncore::filesupport {

File::File(std::string_view fullPathUTF8) : mFullPath(kilncore::string::UTF8to16(fullPathUTF8)) {}

std::string File::FullPathUTF8() const { return kilncore::string::UTF16to8(mFullPath); }

bool File::Exists() const { return kilncore::utility::FileUtils::FileOrDirExists(mFullPath); }

}  // namespace kilncore::filesupport
