// Text scanning and the text-resource compiler, beside plain C string routines doing the same
// cuts (each token or line into a fresh heap string, as the stream makes a fresh stream).
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>

#include "base/os/os.h"
#include "files/string_stream.h"
#include "tools/textres/text_compiler.h"

namespace {

// About 1 MB of script-like Shift-JIS text: keys, words, numbers, brackets, CR LF lines.
const std::string& scriptText() {
  static const std::string text = [] {
    std::string out;
    while (out.size() < (1u << 20)) out += "name = \x93\xFA\x96\x7B\x8C\xEA value_12 (a, b) 1FH 3.25\r\n";
    return out;
  }();
  return text;
}

std::unique_ptr<StringStream> scriptStream() {
  const std::string& text = scriptText();
  return std::unique_ptr<StringStream>(StringStream::Create(text.data(), static_cast<int32_t>(text.size())));
}

void streamTokens(benchmark::State& state) {
  std::unique_ptr<StringStream> stream = scriptStream();
  for (auto _ : state) {
    stream->SetIndex(0);
    while (!stream->DisableSpace()) {
      std::unique_ptr<StringStream> token(stream->GetString(true));
      if (token->GetLength() == 0) stream->GetChar();  // a separator stands next: step over it
      benchmark::DoNotOptimize(token.get());
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(scriptText().size()));
}

// The peer: strspn over blanks, strcspn up to the next separator, one std::string per token.
void peerTokens(benchmark::State& state) {
  const std::string& text = scriptText();
  const char* blanks = " \t\r\n";
  const char* separators = " \t\r\n!\"#$%&'()*+,-./:;<=>?@[\\]^{|}~";
  for (auto _ : state) {
    const char* at = text.c_str();
    while (*(at += std::strspn(at, blanks))) {
      size_t length = std::strcspn(at, separators);
      std::string token(at, length);
      at += length ? length : 1;
      benchmark::DoNotOptimize(token.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void streamLines(benchmark::State& state) {
  std::unique_ptr<StringStream> stream = scriptStream();
  for (auto _ : state) {
    stream->SetIndex(0);
    while (!stream->IsOverflowIndex()) {
      std::unique_ptr<StringStream> line(stream->GetLine(true));
      benchmark::DoNotOptimize(line.get());
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(scriptText().size()));
}

void peerLines(benchmark::State& state) {
  const std::string& text = scriptText();
  for (auto _ : state) {
    const char* at = text.data();
    const char* end = at + text.size();
    while (at < end) {
      const char* stop = static_cast<const char*>(std::memchr(at, '\n', static_cast<size_t>(end - at)));
      if (!stop) stop = end;
      std::string line(at, static_cast<size_t>(stop - at));
      at = stop + 1;
      benchmark::DoNotOptimize(line.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// About 1 MB of UTF-8 source with a label every two lines.
const std::string& compilerSource() {
  static const std::string source = [] {
    std::string out;
    for (int i = 0; out.size() < (1u << 20); ++i) {
      out += "@scene" + std::to_string(i) + "\n\xE3\x81\x8A\xE3\x81\xAF\xE3\x82\x88\xE3\x81\x86 said the guard.\n";
    }
    return out;
  }();
  return source;
}

void compileResource(benchmark::State& state) {
  for (auto _ : state) {
    textres::Compiled compiled;
    std::string error;
    benchmark::DoNotOptimize(textres::compile(compilerSource(), textres::Encoding::Auto, &compiled, &error));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(compilerSource().size()));
}

// The peer: the UTF-8 to Shift-JIS conversion alone, which every compile includes.
void peerConvert(benchmark::State& state) {
  for (auto _ : state) {
    std::string out;
    benchmark::DoNotOptimize(os::utf8ToShiftJis(compilerSource(), &out));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(compilerSource().size()));
}

}  // namespace

BENCHMARK(streamTokens)->Unit(benchmark::kMillisecond);
BENCHMARK(peerTokens)->Unit(benchmark::kMillisecond);
BENCHMARK(streamLines)->Unit(benchmark::kMillisecond);
BENCHMARK(peerLines)->Unit(benchmark::kMillisecond);
BENCHMARK(compileResource)->Unit(benchmark::kMillisecond);
BENCHMARK(peerConvert)->Unit(benchmark::kMillisecond);
