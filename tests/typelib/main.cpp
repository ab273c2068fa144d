// Prints the type library in a .tlb file or in a DLL as text:  typelib_text FILE
// Exit code 1 and a message on stderr when that is not possible.

#include "TypeLibraryText.h"

#include <fcntl.h>
#include <io.h>
#include <ole2.h>

#include <cstdio>
#include <exception>
#include <string>

namespace {

int Print(const wchar_t* file) {
  ITypeLib* library = nullptr;
  if (const HRESULT result = LoadTypeLibEx(file, REGKIND_NONE, &library); FAILED(result)) {
    std::fprintf(stderr, "error: %ls holds no type library that can be loaded: 0x%08lX\n", file,
                 static_cast<unsigned long>(result));
    return 1;
  }
  int status = 0;
  try {
    const std::string text = orvo::TypeLibraryText(library);
    std::fwrite(text.data(), 1, text.size(), stdout);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "error: %ls: %s\n", file, failure.what());
    status = 1;
  }
  library->Release();
  return status;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) {
    std::fputs("usage: typelib_text FILE\n", stderr);
    return 2;
  }
  _setmode(_fileno(stdout), _O_BINARY);
  if (FAILED(OleInitialize(nullptr))) return 1;
  const int status = Print(arguments[1]);
  OleUninitialize();
  return status;
}
