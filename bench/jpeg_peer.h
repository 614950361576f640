// The peer of the picture coder: libjpeg-turbo's baseline coder with its default settings, as
// cjpeg runs it (4:2:0, standard tables and Huffman codes), on a bottom-up 24-bit DIB.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

inline std::vector<uint8_t> jpegCompressDib(const uint8_t* bgr, int32_t width, int32_t height,
                                            int32_t pitch, int quality) {
  jpeg_compress_struct cinfo;
  jpeg_error_mgr error;
  cinfo.err = jpeg_std_error(&error);
  jpeg_create_compress(&cinfo);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&cinfo, &buffer, &size);
  cinfo.image_width = JDIMENSION(width);
  cinfo.image_height = JDIMENSION(height);
  cinfo.input_components = 3;
  cinfo.in_color_space = JCS_EXT_BGR;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, quality, TRUE);
  jpeg_start_compress(&cinfo, TRUE);
  while (cinfo.next_scanline < cinfo.image_height) {
    // The JPEG's first row is the DIB's last.
    JSAMPROW row = const_cast<JSAMPROW>(&bgr[size_t(height - 1 - int32_t(cinfo.next_scanline)) * pitch]);
    jpeg_write_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_compress(&cinfo);
  jpeg_destroy_compress(&cinfo);
  std::vector<uint8_t> out(buffer, buffer + size);
  std::free(buffer);
  return out;
}
