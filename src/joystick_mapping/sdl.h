// The mapping engine's one door to SDL2. The bridge links the system's SDL2; tests and the
// simulator supply theirs at load time, so nothing here may depend on which one it is.
#pragma once

#include <SDL.h>
