#include "platform/shell/system_metrics.h"

int GetSystemMetrics(int measure) {
  switch (measure) {
    case SM_CXICON:
    case SM_CYICON:
      return 32;
    case SM_CXSMICON:
    case SM_CYSMICON:
      return 16;
    default:
      return 0;
  }
}
