// Growable NUL-terminated text on the process heap, with the capacity rules the file objects
// and their callers depend on.
#pragma once

#include <cstdint>

class KString {
 public:
  KString();
  KString(const KString& other);
  virtual ~KString();
  KString& operator=(const KString& other);

  void Assign(const char* text);
  void Append(const char* text);
  // Raw access: a buffer of at least `bytes` bytes; ReleaseBuffer recounts the length.
  char* GetBuffer(uint32_t bytes);
  void ReleaseBuffer();

  const char* GetText() const { return text_; }
  uint32_t GetLength() const { return length_; }
  uint32_t GetCapacity() const { return capacity_; }

 private:
  void Reserve(uint32_t capacity);
  void AssignBytes(const char* text, uint32_t length);

  char* text_;
  uint32_t length_;
  uint32_t capacity_;
};
