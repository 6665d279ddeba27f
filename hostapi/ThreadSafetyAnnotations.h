#pragma once

/// @file
/// Attributes for clang's thread-safety analysis; empty for other compilers.
///
/// The plug-in's locks are plain std::mutex members, which clang does not know as locks, so -Wthread-safety-attributes is off.
/// Scoped locks are known only if they are annotated.

#ifdef __clang__
#define QZ_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QZ_THREAD_ANNOTATION(x)
#endif

/// A class whose objects are locks.
#define QZ_CAPABILITY(name) QZ_THREAD_ANNOTATION(capability(name))
/// A class whose objects hold a lock from construction to destruction.
#define QZ_SCOPED_CAPABILITY QZ_THREAD_ANNOTATION(scoped_lockable)
/// A member that may be read while the lock is held, and written while it is held exclusively.
#define QZ_GUARDED_BY(lock) QZ_THREAD_ANNOTATION(guarded_by(lock))
/// A function that may be called only while the locks are held exclusively.
#define QZ_REQUIRES(...) QZ_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that acquires the locks exclusively.
#define QZ_ACQUIRE(...) QZ_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// A function that acquires the locks shared.
#define QZ_ACQUIRE_SHARED(...) QZ_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
/// A function that releases the locks.
#define QZ_RELEASE(...) QZ_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// A function that releases the locks that were acquired shared.
#define QZ_RELEASE_SHARED(...) QZ_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
/// A function that is called only while the lock is held, which the analysis cannot see.
#define QZ_ASSERT_CAPABILITY(lock) QZ_THREAD_ANNOTATION(assert_capability(lock))
/// A function that is synchronized in a way that the analysis cannot see; a comment says how.
#define QZ_NO_THREAD_ANALYSIS QZ_THREAD_ANNOTATION(no_thread_safety_analysis)
