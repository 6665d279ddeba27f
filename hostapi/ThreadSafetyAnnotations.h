#pragma once

/// @file
/// Attributes for clang's thread-safety analysis; empty for other compilers.
///
/// The plug-in's locks are plain std::mutex members, which clang does not treat as capabilities, so
/// -Wthread-safety-attributes is off. The analysis sees only scoped locks that are annotated.

/// An attribute for clang only.
#ifdef __clang__
#define QZFL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QZFL_THREAD_ANNOTATION(x)
#endif

/// A class of locks.
#define QZFL_CAPABILITY(name) QZFL_THREAD_ANNOTATION(capability(name))
/// A class of objects that hold a lock from construction to destruction.
#define QZFL_SCOPED_CAPABILITY QZFL_THREAD_ANNOTATION(scoped_lockable)
/// A member that may be read while the lock is held, and written while it is held exclusively.
#define QZFL_GUARDED_BY(lock) QZFL_THREAD_ANNOTATION(guarded_by(lock))
/// A function that may be called only while the locks are held exclusively.
#define QZFL_REQUIRES(...) QZFL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that acquires the locks exclusively.
#define QZFL_ACQUIRE(...) QZFL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// A function that acquires the locks shared.
#define QZFL_ACQUIRE_SHARED(...) QZFL_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
/// A function that releases the locks.
#define QZFL_RELEASE(...) QZFL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// A function that releases the locks that were acquired shared.
#define QZFL_RELEASE_SHARED(...) QZFL_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
/// A function that asserts that the lock is held, where the analysis cannot see that.
#define QZFL_ASSERT_CAPABILITY(lock) QZFL_THREAD_ANNOTATION(assert_capability(lock))
/// A function that is synchronized in a way that the analysis cannot see; a comment says how.
#define QZFL_NO_THREAD_ANALYSIS QZFL_THREAD_ANNOTATION(no_thread_safety_analysis)
