// Feeds arbitrary bytes to the text rasterizer as a text layer's text, as a
// project file may hold any string there: it must decode any bytes (bad UTF-8
// becomes U+FFFD), draw with the machine's DejaVu Sans when there is one, and
// give a bitmap whose coverage covers exactly its width and height, never a
// crash or an out-of-bounds write.

#include <server/render/FontCatalog.h>
#include <server/render/TextRasterizer.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static const std::optional<tetherserver::ResolvedFont> font =
      tetherserver::FontCatalog::Instance().Resolve("DejaVu Sans", "");
  // The first byte picks the size, so that one corpus covers small and large.
  const double pixelSize = 1.0 + data[0] % 96;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const auto codes = tetherserver::TextRasterizer::DecodeUtf8(text);
  if (codes.size() > text.size()) std::abort();
  if (!font) return 0;
  const auto bitmap = tetherserver::TextRasterizer::Draw(*font, text, pixelSize, 3, 40);
  if (bitmap->coverage.size() != static_cast<size_t>(bitmap->width) * bitmap->height) std::abort();
  return 0;
}
