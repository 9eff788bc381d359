// Feeds arbitrary texts to the Easel document reader: documents come from
// users' disks. A bad text must come back as an error, never a crash or a
// hang; what is accepted must draw, at a small size, without fault.

#include <server/easel/EaselReader.h>
#include <server/easel/EaselRenderer.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto document = tetherserver::EaselReader::Parse(text, "/fuzz/poster.esd");
  if (!document) return 0;
  const auto composition = tetherserver::EaselRenderer::Build(*document);
  tether::VideoRenderOptions small;
  small.SetBounds(24, 16);
  const auto settings = tetherserver::RenderSettings::Resolve(composition, small);
  if (!settings) return 0;
  std::vector<unsigned char> pixels(settings->FrameBytes());
  tetherserver::FrameRenderer::Render(composition, composition.FramesToTime(0), *settings,
                                      settings->MakeBuffer(pixels.data()));
  return 0;
}
