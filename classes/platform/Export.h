#ifndef PELKO_PLATFORM_EXPORT_H
#define PELKO_PLATFORM_EXPORT_H

// What a shared library of the store shows. Everything else is hidden, so that nothing of it meets a name of
// the client's. A macro, because an attribute whose form depends on the compiler has no other way.
#if defined(__GNUC__) && !defined(_WIN32)
#define PELKO_API __attribute__((visibility("default")))
#else
#define PELKO_API
#endif

#endif  // PELKO_PLATFORM_EXPORT_H
