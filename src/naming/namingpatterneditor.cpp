#include "naming/namingpatterneditor.h"
