#pragma once

// The version of the library's interface that this program is written for, and that interface.
#define FUSE_USE_VERSION 314

#include <fuse_lowlevel.h>
