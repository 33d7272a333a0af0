#pragma once

#include <array>

#include "naming/namingpatternfield.h"

namespace Nomly {

struct FieldGroupRow
{
    const char16_t *name;
    const char16_t *systemImage;
    const char16_t *tint;
};

struct FieldRow
{
    int group;
    const char16_t *token;
    const char16_t *label;
    const char16_t *description;
    NamingPatternField::Source source;
    bool isSuggested;
    const char16_t *aliases; // "|"-separated
};

extern const std::array<FieldGroupRow, 18> FieldGroupRows;
extern const std::array<FieldRow, 145> FieldRows;

} // namespace Nomly
