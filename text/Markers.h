// Markers in resolved texts: {{*MSWindows*}}, {{*COMMENT*}}, {{*CopyYear*}}.

#ifndef TEXT_MARKERS_H
#define TEXT_MARKERS_H

#include "U_Types.h"

// Applies the markers. One that isn't known stays in the text.
void ApplyMarkers(U_UTF16String& text);

#endif
