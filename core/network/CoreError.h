#pragma once
// The library's numbered, user-visible errors. A call site raises one with
//
//   CORE_THROW(5, "Isosurface", "lattice");
//
// which records the call site's file and line and then calls ThrowCoreError.
// The thrown shr::Exception carries the label "Core", that file and line, the
// code and the formatted text of the code's row. Code 0 takes its printf format
// from the first variable argument. Codes outside 0..46 return without action.
namespace core {

// Where errors about internal inconsistencies (code 1) are to be reported.
extern const char* const kSupportAddress;

// The number of the last code of the table.
constexpr int kLastCoreErrorCode = 46;

// Call site of the next ThrowCoreError, set by CORE_THROW. Per thread, so that
// the update thread and the host's thread never see each other's.
extern thread_local const char* g_CoreErrorFile;
extern thread_local int g_CoreErrorLine;

void ThrowCoreError(int code, ...);

// The unformatted text of a code's row, or null outside the table (code 0 has none).
const char* CoreErrorFormat(int code);

} // namespace core

#define CORE_THROW(...)                                                                 \
    (::core::g_CoreErrorFile = __FILE__, ::core::g_CoreErrorLine = __LINE__,             \
     ::core::ThrowCoreError(__VA_ARGS__))
