#pragma once

/// Marks a function that the audio thread calls: no heap, no blocking lock, no file, no log, no
/// wait, no failure. It expands to nothing; the real-time guard of the tests does the checking.
#define LUM_REALTIME
