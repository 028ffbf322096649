// Symbol visibility of the public interface. Everything the library does not name here stays
// hidden, so a host can only bind to the functions and classes it is meant to use.
#pragma once

#if defined(_WIN32)
#if defined(CPD_JOYSTICK_BUILDING)
#define CPD_JOYSTICK_API __declspec(dllexport)
#else
#define CPD_JOYSTICK_API __declspec(dllimport)
#endif
#else
#define CPD_JOYSTICK_API __attribute__((visibility("default")))
#endif
