#pragma once
// Dolang record: one ASCII file for each channel (.A01, .A02, ...) and one
// info file (.ADT) for the shot.
//
//   channel file   v1, v2, v3 ...        the samples of one trace in time
//                                        order, separated by commas or line
//                                        ends; no header
//   info file      f1, f2, ..., f18      fields by position, no keywords:
//                  5 channels per record, 6 records, 8 recording time (ms),
//                  9 samples per trace; the rest is not used
//
// The sampling interval is not stored: it is field 8 / field 9 x 1000 us.
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vexmor {

inline constexpr int kAdtFields = 18;
inline constexpr int kAdtChannels = 5;      // fields from 1
inline constexpr int kAdtRecords = 6;
inline constexpr int kAdtRecordingTime = 8;
inline constexpr int kAdtSamples = 9;

// The 18 fields of an info file's text, index from 1 (fields[0] unused);
// fields the text does not have are empty.
std::vector<std::string> ReadAdtFields(std::string text);

// A number field, rounded half to even to 16 bits (a run-time failure when
// it does not fit).
int16_t AdtNumber(const std::string& field);

// Sampling interval in microseconds: recording time / samples x 1000,
// rounded half to even to 16 bits. No samples is a run-time failure
// (DivisionByZero), as is a result past 16 bits.
int16_t DolangInterval(int16_t recordingTimeMs, int16_t samples);

// Reads the first out.size() values of a channel file's text as floats.
// Gives how many the text had; the samples it lacks are set to 0.
size_t ReadChannelTrace(std::string text, std::span<float> out);

// Texts in this layout, for the sample generator and the tests.
std::string BuildAdtText(int channels, int records, int recordingTimeMs, int samples);
std::string BuildChannelText(std::span<const int32_t> samples);

}  // namespace vexmor
