#include "host/exports/string_stream.h"

#include <cstring>

#include "files/string_stream_format.h"

StringStream* RUNA1_API strmstr_Create(const char* text, int32_t length) {
  if (length == 0 && text) length = static_cast<int32_t>(std::strlen(text));
  return StringStream::Create(text, length);
}

StringStream* RUNA1_API strmstr_LoadText(KFileObj* file) { return StringStream::LoadText(file); }

uint32_t RUNA1_API strmstr_Delete(StringStream* stream) {
  delete stream;
  return 0;
}

const char* RUNA1_API strmstr_GetBuffer(StringStream* stream) { return stream->GetBuffer(); }
int32_t RUNA1_API strmstr_GetLength(StringStream* stream) { return stream->GetLength(); }
int32_t RUNA1_API strmstr_GetIndex(StringStream* stream) { return stream->GetIndex(); }
int32_t RUNA1_API strmstr_GetLastIndex(StringStream* stream) { return stream->GetLastIndex(); }

uint32_t RUNA1_API strmstr_SetIndex(StringStream* stream, int32_t index) {
  stream->SetIndex(index);
  return 0;
}

uint32_t RUNA1_API strmstr_GetChar(StringStream* stream) { return stream->GetChar(); }
uint32_t RUNA1_API strmstr_GetCurrentChar(StringStream* stream) { return stream->GetCurrentChar(); }
uint32_t RUNA1_API strmstr_DisableSpace(StringStream* stream) { return stream->DisableSpace(); }

StringStream* RUNA1_API strmstr_GetString(StringStream* stream, uint32_t move) {
  return stream->GetString(move != 0);
}

StringStream* RUNA1_API strmstr_GetLine(StringStream* stream, uint32_t move) { return stream->GetLine(move != 0); }

StringStream* RUNA1_API strmstr_GetEnclosedString(StringStream* stream, uint32_t open, uint32_t close) {
  return stream->GetEnclosedString(open, close);
}

uint32_t RUNA1_API strmstr_GetValue(StringStream* stream) {
  float value = stream->GetValue();
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

uint32_t RUNA1_API strmstr_IsNumberString(StringStream* stream) { return stream->IsNumberString(); }
int32_t RUNA1_API strmstr_GetInteger(StringStream* stream) { return stream->GetInteger(); }

uint32_t RUNA1_API strmstr_SetSpaceCode(StringStream* stream, const char* codes) {
  stream->SetSpaceCode(codes);
  return 0;
}

uint32_t RUNA1_API strmstr_SetSeparateCode(StringStream* stream, const char* codes) {
  stream->SetSeparateCode(codes);
  return 0;
}

uint32_t RUNA1_API strmstr_IsOverflowIndex(StringStream* stream) { return stream->IsOverflowIndex(); }

uint32_t RUNA1_API strmstr_IsSeparatorCode(StringStream* stream, uint32_t code) {
  return stream->IsSeparatorCode(code);
}

uint32_t RUNA1_API strmstr_IsSeparator(StringStream* stream) { return stream->IsSeparator(); }

int32_t RUNA1_API strmstr_Format(char* buffer, const char* format, const void* arguments) {
  return FormatStringStreamArguments(buffer, format, arguments);
}
