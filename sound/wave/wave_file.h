// RIFF wave files as a sound object keeps them: the format record of the file's own size and
// the data block, PCM or compressed, exactly as they lie in the file.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "files/file_obj.h"

// The wave of a sound object. Both blocks come from vkAlloc and belong to it; both pointers are
// null while it holds no wave. The format block is never shorter than a WAVEFORMATEX and the
// extra bytes its cbSize announces (zeros beyond what the file held), so readers of the record
// stay inside it; formatSize is what the file held.
struct WaveData {
  uint32_t formatSize = 0;
  WAVEFORMATEX* format = nullptr;
  uint32_t dataSize = 0;
  uint8_t* data = nullptr;
};

// Frees both blocks and empties the record.
void freeWaveData(WaveData* wave);
// Reads "RIFF", "WAVE", "fmt " and its record, an optional "fact" chunk (skipped) and "data",
// in that order and no other, into an empty `wave`. On failure it keeps what was read so far.
uint32_t readWaveFile(KFileObj* file, WaveData* wave);
// Writes the RIFF layout with the format record and a "data" chunk, no "fact" and no pad byte.
uint32_t writeWaveFile(KFileObj* file, const WaveData& wave);
// Copies `bytes` of `data` and the format (18 bytes, plus cbSize unless PCM) into an empty
// `wave`. Memory the caller's pointers do not reach fails with code 3.
uint32_t copyWaveData(WaveData* wave, const WAVEFORMATEX* format, const void* data, uint32_t bytes);
// Bytes of `samples` frames in `format`; for a compressed format, the bytes the codec needs
// for the PCM bytes of that length at the format's own sample width (0 for 4-bit codecs).
uint32_t FormatSamplesToBytes(const WAVEFORMATEX* format, uint32_t samples);
