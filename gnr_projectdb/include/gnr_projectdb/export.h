/// \file
/// Export marker for the gnr_projectdb shared library.
///
/// The library is built with hidden symbol visibility; everything that the
/// public headers declare for callers is marked GNR_API, and nothing else is
/// exported. The library's own tests link the same object code statically and
/// so see every symbol regardless of the marker.
#pragma once

#if defined(_WIN32)
#  if defined(GNR_PROJECTDB_BUILDING)
#    define GNR_API __declspec(dllexport)
#  else
#    define GNR_API __declspec(dllimport)
#  endif
#else
#  define GNR_API __attribute__((visibility("default")))
#endif
