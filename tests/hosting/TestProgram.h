#pragma once

#include "svbase/util/String.h"

/// The directory that the running test program stands in, without a trailing separator.
String TestProgramDirectory();

/// A new empty directory of the test's own.
String MakeTestDirectory();
