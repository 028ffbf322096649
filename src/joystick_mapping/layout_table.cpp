#include "joystick_mapping/layout_table.h"

namespace cpd {

InputBinding BindingOf(InputId control, const LayoutCell& cell) {
  const InputType type = cell.forcedType.value_or(ClassifyInputType(InputIdToString(control)));
  return InputBinding{type, cell.index, cell.value};
}

InputBinding LayoutBinding(MappingIndex kind, InputId control) {
  const auto row = static_cast<size_t>(control);
  if (row >= LAYOUTS.size()) {
    return {};
  }
  for (size_t column = 0; column < COLUMN_KINDS.size(); ++column) {
    if (COLUMN_KINDS[column] == kind) {
      return BindingOf(control, LAYOUTS[row].cells[column]);
    }
  }
  return {};
}

}  // namespace cpd
