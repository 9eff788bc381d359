#pragma once

// The whole messaging library: messages, broadcasters and stations, the
// station registry, and the UI-thread queue.
#include <kilncore/messaging/Broadcaster.h>
#include <kilncore/messaging/ManagedStation.h>
#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/MessageImpl.h>
#include <kilncore/messaging/Station.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>
