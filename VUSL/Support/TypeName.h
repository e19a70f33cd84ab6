#pragma once

// The name of a type as the system's texts show it, spelled as the platform's own compiler spells
// run-time names: "enum talsStatus", "class IConfig". It stands beside each type as a constant,
// because other compilers give mangled names at run time.
//
// A type that is named in a text specialises this beside its own definition:
//   template <> struct TypeName<IConfig> { static constexpr const char* text = "class IConfig"; };
// A type without a specialisation does not compile where its name is asked for.
template <class T>
struct TypeName;
