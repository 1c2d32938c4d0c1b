#include "waveforms/signal_trace.h"

namespace qz3 {

namespace {
SignalTraceFinder s_Finder = nullptr;
}  // namespace

void SetSignalTraceFinder(SignalTraceFinder finder) { s_Finder = finder; }
SignalTraceFinder GetSignalTraceFinder() { return s_Finder; }

}  // namespace qz3
