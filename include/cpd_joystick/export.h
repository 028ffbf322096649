// Symbol visibility of the public interface. Everything the library does not name here stays
// hidden, so a host can only bind to the functions and classes it is meant to use.
#pragma once

#if defined(_WIN32)
#if defined(CPD_JOYSTICK_BUILDING)
#define CPD_JOYSTICK_API __declspec(dllexport)
#elif defined(CPD_JOYSTICK_AUTO_IMPORT)
// Code linked sometimes with the bridge's objects and sometimes with its DLL (the test doubles):
// plain references, which the MinGW linker binds either way.
#define CPD_JOYSTICK_API
#else
#define CPD_JOYSTICK_API __declspec(dllimport)
#endif
#else
#define CPD_JOYSTICK_API __attribute__((visibility("default")))
#endif

// The secure store's three members belong to the client's configuration library: exported by the
// module that defines them (the default store, or a host's replacement), and on Windows linked
// by name without an import declaration, so that a host may define them itself.
#if defined(_WIN32)
#if defined(CPD_SECURE_STORE_BUILDING)
#define CPD_SECURE_STORE_API __declspec(dllexport)
#else
#define CPD_SECURE_STORE_API
#endif
#else
#define CPD_SECURE_STORE_API __attribute__((visibility("default")))
#endif
