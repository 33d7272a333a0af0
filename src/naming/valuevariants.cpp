#include "naming/valuevariants.h"
