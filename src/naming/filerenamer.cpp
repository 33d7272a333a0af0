#include "naming/filerenamer.h"
