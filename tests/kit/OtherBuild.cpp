// A driver library of another compiler, as a host sees it: the plain fields and nothing behind them.
namespace {

struct Facts {
  unsigned magic = 0x4F52564F;
  unsigned size = 48;
  unsigned contractVersion = ORVO_TEST_CONTRACT;
  const char* build = "another compiler 1, 64 bits";
  const char* progId = "Other.Channel";
  const char* description = "never shown";
  // Nothing of it may be called.
  void (*make)() = [] { __builtin_trap(); };
};

const Facts facts;

}  // namespace

extern "C" const void* orvo_driver_library() {
  return &facts;
}
