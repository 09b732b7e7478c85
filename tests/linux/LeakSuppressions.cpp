// Known to the leak checker of the sanitizer build.

/// GLib leaves its old table of quarks behind when the table grows, on purpose: other threads may be reading
/// it.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libglib-2.0.so\n"; }
