/// @file
/// Lets the compiler warn of views that outlive what they refer to.

#pragma once

#if __has_cpp_attribute(clang::lifetimebound)
#define TAVIK_LIFETIMEBOUND [[clang::lifetimebound]]
#else
/// Marks a parameter, or at the end of a declaration the object, that the result of a function must not outlive.
#define TAVIK_LIFETIMEBOUND
#endif
