// Names of the Windows C runtime that the module uses and glibc spells differently; included before every
// source file of the checked build.
#pragma once

#define _stricmp strcasecmp
