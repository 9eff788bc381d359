#pragma once

// Marks the module's public API. The module is built with hidden visibility, so
// only what carries this macro is seen by the host that loads it.
#define TETHERMEDIA_API __attribute__((visibility("default")))
