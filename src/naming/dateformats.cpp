#include "naming/dateformats.h"
