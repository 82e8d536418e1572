#pragma once

#include "svbase/util/String.h"

/// Paths are Strings with "/" between their names. Everything inside the system holds them in normal form;
/// the two other forms are made at the last moment. None of this looks at the disk, except for the current
/// directory in absolute(), toSystem() and sameFile().
namespace Util::Path {

/// The normal form: "/" as separator, no "\\?\" in front, no trailing "/" except for a lone root ("/",
/// "C:/"), one "/" for every run except the two that begin a UNC path, "." and ".." resolved as far as the
/// text allows: a relative path keeps leading ".."s, nothing climbs above a root or a UNC share. "~/" in
/// front stands for the environment variable HOME. Idempotent; null and empty stay as they are, a relative
/// path that comes to nothing is ".".
String normalise(const String& path);

/// The form people read, and libraries are loaded by: the normal form with "\" as separator and none at the
/// end. The same on every platform.
String toNative(const String& path);

/// The form that the operating system's calls take. On Windows absolute, with "\" and the "\\?\" prefix
/// ("\\?\UNC\" before a UNC path), so that it may be longer than 260 units; elsewhere the normal form.
String toSystem(const String& path);

/// Begins with "/" or a drive letter and "/". Drive letters count on every platform, so that a path of the
/// other platform is left alone.
bool isAbsolute(const String& path);

/// The normal form, joined to the current directory where it is relative.
String absolute(const String& path);

/// Whether two texts name one file: equal but for the case of A to Z, in normal form or else when made
/// absolute.
bool sameFile(const String& a, const String& b);

/// The last name of the normal form, without its directory; empty for a root or a UNC share.
String fileName(const String& path);

/// The normal form without its last name; a root is its own directory, a relative path of one name has "".
String directory(const String& path);

} // namespace Util::Path
