#include "Manifest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace orvo::testing {

namespace {

std::string ContentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::filesystem::path ManifestOf(const std::wstring& library) {
  return std::filesystem::path(library).replace_extension(L".manifest");
}

// The identity by which an application names the assembly, as its own manifest gives it.
std::string IdentityIn(const std::string& manifest) {
  const std::size_t begin = manifest.find("<assemblyIdentity");
  const std::size_t end = manifest.find("/>", begin);
  return begin == std::string::npos ? "" : manifest.substr(begin, end + 2 - begin);
}

}  // namespace

CLSID PanelClass() {
  const std::string manifest = ContentOf(ManifestOf(PanelLibrary()));
  const std::size_t begin = manifest.find("clsid=\"") + 7;
  const std::string text = manifest.substr(begin, 38);
  CLSID id{};
  EXPECT_EQ(CLSIDFromString(std::wstring(text.begin(), text.end()).c_str(), &id), S_OK) << text;
  return id;
}

ManifestContext::ManifestContext() {
  std::string application = "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">\n";
  for (const std::wstring& library : {ServerLibrary(), PanelLibrary()}) {
    files_.Copy(library);
    files_.Copy(ManifestOf(library).wstring());
    application += "<dependency><dependentAssembly>" + IdentityIn(ContentOf(ManifestOf(library))) +
                   "</dependentAssembly></dependency>\n";
  }
  const std::wstring file = files_.Write(L"application.manifest", application + "</assembly>\n");
  ACTCTXW description{};
  description.cbSize = sizeof description;
  description.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
  description.lpSource = file.c_str();
  description.lpAssemblyDirectory = files_.Folder().c_str();
  context_ = CreateActCtxW(&description);
  EXPECT_NE(context_, INVALID_HANDLE_VALUE) << "error " << GetLastError();
  EXPECT_TRUE(ActivateActCtx(context_, &cookie_));
}

ManifestContext::~ManifestContext() {
  DeactivateActCtx(0, cookie_);
  ReleaseActCtx(context_);
}

}  // namespace orvo::testing
