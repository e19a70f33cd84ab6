#pragma once

#ifdef __SANITIZE_THREAD__
// Its runtime's own entries; no header of the compiler declares them all.
extern "C" {
void __tsan_acquire(void* object);
void __tsan_release(void* object);
void AnnotateIgnoreSyncBegin(const char* file, int line);
void AnnotateIgnoreSyncEnd(const char* file, int line);
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

// What the thread sanitizer is told of the model.
//
// In real time one lock guards the machine's state; in virtual time only one thread has the turn,
// and hands it on. Seen as they are, that lock and that hand-off order any two platform calls of
// any two threads, and hardly a race of the program could ever be found. So the sanitizer looks
// away while the guard is held and while the turn passes, and is told instead what the platform
// promises: that whatever was done before a signal, a release or an end is seen by whoever waited
// for it.
namespace host::races {

#ifdef __SANITIZE_THREAD__

// Whether the calling thread is one that the sanitizer looks away from.
inline thread_local bool isUnseen = false;

inline void lookAway() {
  isUnseen = true;
  AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
  AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
  AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
}

inline void lookAgain() {
  AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
  AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
  AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
  isUnseen = false;
}

// The caller ends the process, with the guard held or not. A thread that the sanitizer still looks
// away from by then would be reported, and with another exit status than that of a race.
inline void lookAgainAtEnd() {
  if (isUnseen) {
    lookAgain();
  }
}

// The caller passes on what it has done to whoever receives by the same object. The guard is held.
inline void publish(const void* object) {
  AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
  __tsan_release(const_cast<void*>(object));
  AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
}

// The caller sees what was passed on by the object. The guard is held.
inline void receive(const void* object) {
  AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
  __tsan_acquire(const_cast<void*>(object));
  AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
}

#else

inline void lookAway() {}
inline void lookAgain() {}
inline void lookAgainAtEnd() {}
inline void publish(const void* /*object*/) {}
inline void receive(const void* /*object*/) {}

#endif

}  // namespace host::races
