#include "naming/namecontext.h"
