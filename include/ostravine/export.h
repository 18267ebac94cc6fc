/* Linkage and visibility of the exported C API.
   Every exported function is declared between OSTR_BEGIN_DECLS and
   OSTR_END_DECLS with OSTR_API in front and OSTR_NOEXCEPT behind, so that
   C sees plain prototypes and C++ sees extern "C" noexcept functions. */
#ifndef OSTRAVINE_EXPORT_H
#define OSTRAVINE_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define OSTR_API __attribute__((visibility("default")))
#else
#define OSTR_API
#endif

#ifdef __cplusplus
#define OSTR_BEGIN_DECLS extern "C" {
#define OSTR_END_DECLS }
#define OSTR_NOEXCEPT noexcept
#else
#define OSTR_BEGIN_DECLS
#define OSTR_END_DECLS
#define OSTR_NOEXCEPT
#endif

#endif
