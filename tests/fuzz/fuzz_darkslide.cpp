// Feeds arbitrary texts to the Darkslide catalogue reader: catalogues come
// from users' disks. A bad text must come back as an error, never a crash or a
// hang; every photo of what is accepted must draw, at a small size, without
// fault.

#include <server/darkslide/DarkslideReader.h>
#include <server/darkslide/DarkslideRenderer.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto catalogue = tetherserver::DarkslideReader::Parse(text, "/fuzz/photos.dslcat");
  if (!catalogue) return 0;
  tether::VideoRenderOptions small;
  small.SetBounds(24, 16);
  for (const auto& photo : catalogue->photos) {
    const auto composition = tetherserver::DarkslideRenderer::Build(*catalogue, photo);
    const auto settings = tetherserver::RenderSettings::Resolve(composition, small);
    if (!settings) continue;
    std::vector<unsigned char> pixels(settings->FrameBytes());
    tetherserver::FrameRenderer::Render(composition, composition.FramesToTime(0), *settings,
                                        settings->MakeBuffer(pixels.data()));
  }
  return 0;
}
