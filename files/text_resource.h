// A text resource: one Shift-JIS text with a table of labels into it, read from a prepared
// binary file (all integers little-endian):
//
//   int32 n               label count
//   n * {int32, int32}    label table, present when n > 0: the text index of each label, and a
//                         second word the reader carries but does not use (the compiler stores
//                         the line of the label in its source there)
//   int32 m               text length
//   m bytes               the text
//
// It is a StringStream over the text, so everything that scans a stream scans it too.
#pragma once

#include <cstdint>

#include "files/string_stream.h"

class KFileObj;

struct TextLabel {
  int32_t textIndex;
  int32_t sourceLine;
};

class TextResource : public StringStream {
 public:
  // Reads a resource from the file's current position. Null when a memory block can't be had,
  // and when the file ends before the sizes it declares (reported as a file error).
  static TextResource* ReadText(KFileObj* file);
  ~TextResource() override;

  int32_t GetLabelCount() const { return labelCount_; }
  // The label's text index as the file gives it (it may be negative), or -1 when there is no
  // such label.
  int32_t GetLabelIndex(int32_t label) const;
  // Moves the cursor to the label's text index unless that is negative; the last index stays.
  void MoveToLabel(int32_t label);

 private:
  TextResource(char* text, int32_t length, int32_t labelCount, TextLabel* labels);

  int32_t labelCount_;
  TextLabel* labels_;  // null when the file has no table
};
