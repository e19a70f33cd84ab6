#pragma once

// Texts that more than one place logs or throws.

// A destructor has caught what it must not let go on; what it says follows.
inline constexpr char kUnexpectedError[] = "Unexpected error occured: ";

inline constexpr char kMemcpyFailed[] = "memcpy_s failed";

// A wait failed, whatever was waited for. Whoever searches the log for failed waits finds them all
// by one sentence, although it names the event alone.
inline constexpr char kWaitFailed[] = "Event::Lock: Wait complete - error.";

// Where and how it is told that there is no instance of a class; the class's name follows.
inline constexpr char kGetInstance[] = "Singleton::getInstance()";
inline constexpr char kNullInstance[] = "NULL instance of ";
