/* Plugs one Xbox pad into the simulator as soon as this library is loaded, with A held and the
 * left stick pushed right, so that a host which knows nothing of the simulator (the C host
 * example) finds a controller. Linked into a test program, or preloaded into an installed host. */
#include "sdl_sim.h"

__attribute__((constructor)) static void plug_xbox_pad(void) {
  const int pad =
      sim_plug("Xbox Wireless Controller", "/dev/input/event20", 0x045e, 0x0b13, 6, 11, 1);
  sim_set_button(pad, 0, 1);
  sim_set_axis(pad, 0, 32767);
}
