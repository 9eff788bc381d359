#pragma once

// The whole of the host's JSON support, for code that uses most of it.
#include <kilncore/serialization/JSONAccess.h>
#include <kilncore/serialization/JSONBuild.h>
#include <kilncore/serialization/JSONConvert.h>
#include <kilncore/serialization/JSONParse.h>
#include <kilncore/serialization/JSONString.h>
#include <kilncore/serialization/JSONTypes.h>
