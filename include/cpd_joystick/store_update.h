/* Read-modify-write of the default secure store across threads and processes.
 *
 * The default store (cpd_joystick_store) takes turns on its file for each GetSecure and
 * SetSecure. A caller that reads a value, changes it and writes it back brackets the three steps
 * with these calls, so that no other thread or process writes the store in between. A host's own
 * store need not have them: look them up at run time. */
#ifndef CPD_JOYSTICK_STORE_UPDATE_H
#define CPD_JOYSTICK_STORE_UPDATE_H

#include "cpd_joystick/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Holds the default store's file for a read-modify-write made by the calling thread with
   GetSecure and SetSecure: other threads and processes using the same file wait until the
   matching end. 1 when held, 0 when not (no store location, or the lock not obtained within
   about 2 s; an error line). Calls nest on one thread. */
CPD_SECURE_STORE_API int cpd_joystick_store_begin_update(void);

/* Ends the calling thread's innermost update; the outermost end lets other writers in. An end
   without a begin on this thread changes nothing (an error line). */
CPD_SECURE_STORE_API void cpd_joystick_store_end_update(void);

#ifdef __cplusplus
}
#endif

#endif
