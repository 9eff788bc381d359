#include <host/output/CaptionFile.h>

#include <host/output/OutputFile.h>
#include <host/output/SrtWriter.h>
#include <host/output/WebVttWriter.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <stdexcept>

namespace tetherhost {

namespace {

std::string Extension(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace

bool CaptionFile::IsKnownFormat(const std::filesystem::path& path) {
  const std::string extension = Extension(path);
  return extension == ".vtt" || extension == ".srt";
}

void CaptionFile::Write(const std::filesystem::path& path, const KL::CaptionStream& stream) {
  if (!IsKnownFormat(path)) {
    throw std::invalid_argument(path.string() + ": captions are written as WebVTT (.vtt) or SubRip (.srt)");
  }
  const std::string text = Extension(path) == ".vtt" ? WebVttWriter::Write(stream) : SrtWriter::Write(stream);
  OutputFile file(path);
  {
    std::ofstream out(file.temporary(), std::ios::binary);
    out << text;
    out.close();
    if (!out) throw std::runtime_error("can't write " + file.temporary().string());
  }
  file.Commit();
}

}  // namespace tetherhost
