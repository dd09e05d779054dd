#pragma once

/// \file
/// Export switches of the five shared libraries.
///
/// Each library is built with hidden visibility and shows only what carries its own switch:
/// KELVRASERVICE_API, KELVRAHOST_API, KELVRAMATH_API, KELVRADATA_API and, for the scene-data library
/// itself, KELVRA_API. KELVRA_TEMPLATE_API marks class templates whose instances must be the same type
/// in every library of a process.

#if defined(_WIN32)
#    define KELVRA_EXPORT __declspec(dllexport)
#    define KELVRA_IMPORT __declspec(dllimport)
#    define KELVRA_TEMPLATE_API
#else
#    define KELVRA_EXPORT __attribute__((visibility("default")))
#    define KELVRA_IMPORT __attribute__((visibility("default")))
#    define KELVRA_TEMPLATE_API __attribute__((visibility("default")))
#endif

#if defined(KelvraService_EXPORTS)
#    define KELVRASERVICE_API KELVRA_EXPORT
#else
#    define KELVRASERVICE_API KELVRA_IMPORT
#endif

#if defined(KelvraHost_EXPORTS)
#    define KELVRAHOST_API KELVRA_EXPORT
#else
#    define KELVRAHOST_API KELVRA_IMPORT
#endif

#if defined(KelvraMath_EXPORTS)
#    define KELVRAMATH_API KELVRA_EXPORT
#else
#    define KELVRAMATH_API KELVRA_IMPORT
#endif

#if defined(KelvraData_EXPORTS)
#    define KELVRADATA_API KELVRA_EXPORT
#else
#    define KELVRADATA_API KELVRA_IMPORT
#endif

#if defined(LumvoData_EXPORTS)
#    define KELVRA_API KELVRA_EXPORT
#else
#    define KELVRA_API KELVRA_IMPORT
#endif

/// KELVRA_EXTERN_TEMPLATE(class): the instance of a class template is made in one source of the scene-data library and
/// exported from there. On Windows such a declaration would keep the instance's members from being exported: each
/// library makes its own there, and the checked casts between them compare type names.
#if defined(_WIN32)
#    define KELVRA_EXTERN_TEMPLATE(...) static_assert(true, "")
#else
#    define KELVRA_EXTERN_TEMPLATE(...) extern template class KELVRA_API __VA_ARGS__
#endif
