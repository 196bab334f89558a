#pragma once
// Signals about the host's Dear ImGui context. Every module has its own Dear ImGui code with its
// own current-context pointer, which a plugin keeps in step through on_context_change.

#include "foundation/signal.h"

struct ImGuiContext;
struct ImFontAtlas;

namespace tv {

struct ImGuiSignals {
  // Emitted at each change of the current context.
  Signal<void(ImGuiContext*)> on_context_change;
  // Emitted once the shared atlas exists and before its first font; a slot may add fonts.
  Signal<void(ImFontAtlas*)> on_font_atlas;
};

} // namespace tv
