// How a driver becomes a shared library: what a driver author includes.
//
//     ORVO_DRIVER_LIBRARY("MyCompany.Channel", "Panels of MyCompany on a serial line",
//                         [](orvo::DriverHost host) -> std::shared_ptr<orvo::CommunicationDriver> {
//                           return std::make_shared<MyDriver>(host);
//                         });
//
// stands once in the library, outside of any namespace. The file is named after the identifier,
// "MyCompany.Channel.so", and put into a folder of the search path (DriverLibraries.h).
//
// Host and library talk C++ to each other, so both must be built alike. The library exports one C function; the
// host compares the plain fields of what it returns and calls nothing else of the library before they agree.
#pragma once

#include "errors/AutomationError.h"
#include "spooler/DriverRegistry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace orvo {

// Raised when CommunicationDriver, DeviceObject, IEventNotify, ThreadPlatform, Files, DriverHost, Variant,
// SafeArray or AutomationError gets, loses or moves a virtual function or a field, or when the meaning of one
// changes so that an old driver breaks it.
inline constexpr std::uint32_t DriverContractVersion = 1;

// What the exported function returns; it lives as long as the process. The fields up to `build` keep their
// places for ever, so that any host can tell why it refuses any library.
struct DriverLibraryFacts {
  static constexpr std::uint32_t Magic = 0x4F52564F;

  std::uint32_t magic;
  std::uint32_t size;  // of this structure
  std::uint32_t contractVersion;
  const char* build;  // DriverBuildText, as the library was compiled

  const char* progId;
  const char* description;  // one line
  // C++ from here on. A new driver at each call; failures as AutomationError.
  std::shared_ptr<CommunicationDriver> (*make)(DriverHost host);
};

// The exported function.
inline constexpr const char* DriverLibraryFunction = "orvo_driver_library";
using DriverLibraryEntry = const DriverLibraryFacts* (*)();

namespace detail {

// Text that is put together while compiling.
struct BuildText {
  std::array<char, 256> characters{};
  std::size_t length = 0;

  constexpr BuildText& Add(std::string_view text) {
    for (const char character : text)
      characters.at(length++) = character;
    return *this;
  }
  constexpr BuildText& Add(std::size_t number) {
    if (number >= 10) Add(number / 10);
    characters.at(length++) = static_cast<char>('0' + number % 10);
    return *this;
  }
};

consteval BuildText DescribeBuild() {
  BuildText text;
#if defined(__clang__)
  text.Add("clang++ ").Add(std::size_t{__clang_major__});
#elif defined(__GNUC__)
  text.Add("g++ ").Add(std::size_t{__GNUC__});
#else
  text.Add("an unknown compiler");
#endif
#if defined(_GLIBCXX_USE_CXX11_ABI)
  text.Add(", libstdc++ with ").Add(_GLIBCXX_USE_CXX11_ABI != 0 ? "new" : "old").Add(" strings");
#elif defined(_LIBCPP_VERSION)
  text.Add(", libc++");
#else
  text.Add(", an unknown standard library");
#endif
#if defined(_GLIBCXX_DEBUG)
  text.Add(" in debug mode");
#endif
  text.Add(", ").Add(sizeof(void*) * 8).Add(" bits");
  text.Add(", sizes ").Add(sizeof(Variant)).Add("/").Add(sizeof(SafeArray<Variant>));
  text.Add("/").Add(sizeof(std::string)).Add("/").Add(sizeof(std::shared_ptr<IEventNotify>));
  text.Add("/").Add(sizeof(std::function<void()>)).Add("/").Add(sizeof(DriverHost));
  text.Add("/").Add(sizeof(AutomationError));
  return text;
}

// One for each source file, not one for the process: a library must not show the host's.
constexpr BuildText ThisBuild = DescribeBuild();

}  // namespace detail

// What decides whether two builds can talk C++ to each other, for example "g++ 12, libstdc++ with new strings,
// 64 bits, sizes 24/16/32/16/32/16/48": compiler and major version, standard library, its debug mode if it is
// on, width of a pointer, sizes of Variant, SafeArray, std::string, std::shared_ptr, std::function, DriverHost
// and AutomationError.
constexpr const char* DriverBuildText = detail::ThisBuild.characters.data();

}  // namespace orvo

// `progId` and `description` are literals. What follows is the factory: a function or a lambda without
// captures.
#define ORVO_DRIVER_LIBRARY(progId, description, ...)                                                       \
  extern "C" __attribute__((visibility("default"))) const orvo::DriverLibraryFacts* orvo_driver_library() { \
    static constexpr orvo::DriverLibraryFacts facts{orvo::DriverLibraryFacts::Magic,                        \
                                                    sizeof(orvo::DriverLibraryFacts),                       \
                                                    orvo::DriverContractVersion,                            \
                                                    orvo::DriverBuildText,                                  \
                                                    progId,                                                 \
                                                    description,                                            \
                                                    __VA_ARGS__};                                           \
    return &facts;                                                                                          \
  }                                                                                                         \
  static_assert(true, "takes the semicolon")
