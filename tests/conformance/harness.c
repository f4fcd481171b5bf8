/* The runner of one conformance test file: counts the checks, prints each
 * failure as "file:line: Test failed: text" (the key the expected-failures
 * list uses), and ends with one summary line that the conformance script
 * reads. A crash is reported with the last check's location before the
 * process dies, so the script can tell a crash from a failure.
 * Invariant: the summary line is printed once, by main, after the tests ran;
 * its absence means the test file did not finish. */
#define WINETEST_HARNESS
#include "winetest.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

int winetest_debug = 1;
int winetest_interactive = 0;
const char* winetest_platform = "windows";

enum { kContextDepth = 16, kContextSize = 256, kDebugBuffers = 64, kDebugBufferSize = 1024 };

static const char* g_file = "?";
static int g_line;
static LONG g_passed, g_failed, g_skipped, g_skippedFunctions;
static int g_todoDepth;
static char g_contexts[kContextDepth][kContextSize];
static int g_contextCount;
static char** g_argv;
static int g_argc;

static const char* baseName(const char* path) {
  const char* slash = strrchr(path, '/');
  return slash ? slash + 1 : path;
}

/* The system's formats size integers with I (pointer-sized), I32 and I64,
 * which the C library does not know: the 32-bit forms drop the size, I64
 * becomes ll. */
static const char* portableFormat(const char* fmt, char* out, size_t size) {
  size_t n = 0;
  int inConversion = 0;
  for (const char* p = fmt; *p && n + 3 < size; ++p) {
    if (inConversion && *p == 'I') {
      if (p[1] == '6' && p[2] == '4') {
        out[n++] = 'l';
        out[n++] = 'l';
        p += 2;
      } else if (p[1] == '3' && p[2] == '2') {
        p += 2;
      }
      continue;
    }
    if (*p == '%') inConversion = !inConversion;
    else if (inConversion && strchr("diouxXcspfeEgGn", *p)) inConversion = 0;
    out[n++] = *p;
  }
  out[n] = 0;
  return out;
}

enum { kFormatSize = 1024 };

int winetest_vsprintf(char* buffer, const char* fmt, va_list args) {
  char format[kFormatSize];
  return vsprintf(buffer, portableFormat(fmt, format, sizeof format), args);
}

int winetest_sprintf(char* buffer, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  int n = winetest_vsprintf(buffer, fmt, args);
  va_end(args);
  return n;
}

static int portableVprintf(const char* fmt, va_list args) {
  char format[kFormatSize];
  return vprintf(portableFormat(fmt, format, sizeof format), args);
}

int winetest_printf(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  int n = portableVprintf(fmt, args);
  va_end(args);
  return n;
}

static void printLocation(const char* what) {
  printf("%s:%d: %s", baseName(g_file), g_line, what);
  for (int i = 0; i < g_contextCount; ++i) printf("%s: ", g_contexts[i]);
}

void winetest_set_location(const char* file, int line) {
  g_file = file;
  g_line = line;
}

int winetest_ok(int condition, const char* msg, ...) {
  if (condition) {
    ++g_passed;
    return 1;
  }
  ++g_failed;
  printLocation("Test failed: ");
  va_list args;
  va_start(args, msg);
  portableVprintf(msg, args);
  va_end(args);
  fflush(stdout);
  return 0;
}

static void vreport(const char* what, const char* msg, va_list args) {
  printLocation(what);
  portableVprintf(msg, args);
}

void winetest_skip(const char* msg, ...) {
  ++g_skipped;
  va_list args;
  va_start(args, msg);
  vreport("Tests skipped: ", msg, args);
  va_end(args);
}

void winetest_win_skip(const char* msg, ...) {
  ++g_skipped;
  va_list args;
  va_start(args, msg);
  vreport("Tests skipped: ", msg, args);
  va_end(args);
}

void winetest_trace(const char* msg, ...) {
  if (!getenv("WINETEST_TRACE")) return;
  va_list args;
  va_start(args, msg);
  vreport("", msg, args);
  va_end(args);
}

void winetest_push_context(const char* fmt, ...) {
  if (g_contextCount == kContextDepth) abort();
  va_list args;
  va_start(args, fmt);
  char format[kFormatSize];
  vsnprintf(g_contexts[g_contextCount++], kContextSize, portableFormat(fmt, format, sizeof format),
            args);
  va_end(args);
}

void winetest_pop_context(void) {
  if (g_contextCount > 0) --g_contextCount;
}

/* Todo blocks run their body once; nothing is marked todo on this platform. */
void winetest_start_todo(int is_todo) {
  (void)is_todo;
  g_todoDepth = g_todoDepth * 2 + 1;
}

int winetest_loop_todo(void) {
  int run = g_todoDepth & 1;
  g_todoDepth &= ~1;
  return run;
}

void winetest_end_todo(void) { g_todoDepth /= 2; }

int winetest_get_mainargs(char*** argv) {
  *argv = g_argv;
  return g_argc;
}

DWORD winetest_wait_child_process(HANDLE process) {
  (void)process;
  return 0;
}

LONG winetest_get_failures(void) { return g_failed; }
void winetest_add_failures(LONG count) { g_failed += count; }

void winetest_skipped(const char* function) {
  ++g_skippedFunctions;
  if (getenv("WINETEST_TRACE")) printf("%s: left out\n", function);
}

static char* nextDebugBuffer(void) {
  static char buffers[kDebugBuffers][kDebugBufferSize];
  static int next;
  next = (next + 1) % kDebugBuffers;
  return buffers[next];
}

const char* wine_dbg_sprintf(const char* fmt, ...) {
  char* buffer = nextDebugBuffer();
  char format[kFormatSize];
  va_list args;
  va_start(args, fmt);
  vsnprintf(buffer, kDebugBufferSize, portableFormat(fmt, format, sizeof format), args);
  va_end(args);
  return buffer;
}

static char* quoteChar(char* out, unsigned c) {
  switch (c) {
  case '\n': *out++ = '\\'; *out++ = 'n'; return out;
  case '\r': *out++ = '\\'; *out++ = 'r'; return out;
  case '\t': *out++ = '\\'; *out++ = 't'; return out;
  case '"': *out++ = '\\'; *out++ = '"'; return out;
  case '\\': *out++ = '\\'; *out++ = '\\'; return out;
  }
  if (c >= ' ' && c < 127) {
    *out++ = (char)c;
    return out;
  }
  return out + sprintf(out, c < 256 ? "\\x%02x" : "\\x%04x", c);
}

/* Quotes at most as much of the string as fits one buffer. */
static const char* quote(const void* s, int n, int wide) {
  if (!s) return "(null)";
  if ((ULONG_PTR)s < 0x10000) return wine_dbg_sprintf("#%04x", (unsigned)(ULONG_PTR)s);
  char* buffer = nextDebugBuffer();
  char* out = buffer;
  const char* limit = buffer + kDebugBufferSize - 16;
  *out++ = wide ? 'L' : ' ';
  *out++ = '"';
  for (int i = 0; n < 0 || i < n; ++i) {
    unsigned c = wide ? ((const WCHAR*)s)[i] : ((const unsigned char*)s)[i];
    if (n < 0 && !c) break;
    if (out >= limit) break;
    out = quoteChar(out, c);
  }
  *out++ = '"';
  *out = 0;
  return wide ? buffer : buffer + 1;
}

const char* wine_dbgstr_an(const char* s, int n) { return quote(s, n, 0); }
const char* wine_dbgstr_wn(const WCHAR* s, int n) { return quote(s, n, 1); }

const char* wine_dbgstr_rect(const RECT* rect) {
  if (!rect) return "(null)";
  return wine_dbg_sprintf("(%ld,%ld)-(%ld,%ld)", rect->left, rect->top, rect->right,
                          rect->bottom);
}

const char* wine_dbgstr_point(const POINT* point) {
  if (!point) return "(null)";
  return wine_dbg_sprintf("(%ld,%ld)", point->x, point->y);
}

const char* wine_dbgstr_longlong(unsigned long long n) {
  return wine_dbg_sprintf("%llx", n);
}

/* What the tests print of a region when a check about it failed; the
 * layer's regions are described by their bounding box. */
__attribute__((weak)) __attribute__((weak)) void dump_region(HRGN hrgn) {
  RECT box;
  if (GetRgnBox(hrgn, &box) == ERROR) {
    printf("(invalid region)\n");
    return;
  }
  printf("region box %s\n", wine_dbgstr_rect(&box));
}

/* The summary a crash leaves: where the last check was. Only
 * async-signal-safe calls, the buffer is built by hand. */
static void onCrash(int sig) {
  char text[512];
  int len = snprintf(text, sizeof text, "%s:%d: crashed (signal %d) after the check here\n",
                     baseName(g_file), g_line, sig);
  fflush(stdout);
  if (len > 0) (void)!write(1, text, (size_t)len);
  _exit(3);
}

int main(int argc, char** argv) {
  g_argc = argc;
  g_argv = argv;
  setvbuf(stdout, NULL, _IOLBF, 0);
  signal(SIGSEGV, onCrash);
  signal(SIGBUS, onCrash);
  signal(SIGFPE, onCrash);
  signal(SIGILL, onCrash);
  signal(SIGABRT, onCrash);
  winetest_main();
  printf("%s: %ld tests executed (0 marked as todo, %ld failures), %ld skipped, "
         "%ld test functions left out.\n",
         winetest_test_name, g_passed + g_failed, g_failed, g_skipped, g_skippedFunctions);
  return g_failed ? 1 : 0;
}
