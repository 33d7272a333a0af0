#include "naming/builtinextensions.h"
