#include "host/output/BpDimension.h"

#include "host/output/OutputTable.h"

void BpDimension::Position(int place, int index, bool hideLabel, bool) const {
  Table().Place(Node(), place, index, hideLabel);
}
