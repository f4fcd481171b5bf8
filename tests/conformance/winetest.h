/* The check macros Wine's conformance tests are written with (ok, todo_wine,
 * broken, skip, trace, contexts, START_TEST), implemented by harness.c so the
 * tests build against the layer as plain C programs.
 * Invariant: the layer stands in for the real system, so a check behaves as
 * it does when the tests run on Windows (todo_wine marks nothing), except
 * broken(): old systems' behaviour is never accepted, the layer must give
 * the current one. */
#ifndef TUL_WINETEST_H
#define TUL_WINETEST_H

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#ifndef ARRAY_SIZE
#define ARRAY_SIZE(a) (sizeof(a) / sizeof((a)[0]))
#endif

#define WINETEST_PRINTF(f, a) __attribute__((format(printf, f, a)))

extern int winetest_debug;
extern int winetest_interactive;
extern const char* winetest_platform;

void winetest_set_location(const char* file, int line);
int winetest_ok(int condition, const char* msg, ...) WINETEST_PRINTF(2, 3);
void winetest_skip(const char* msg, ...) WINETEST_PRINTF(1, 2);
void winetest_win_skip(const char* msg, ...) WINETEST_PRINTF(1, 2);
void winetest_trace(const char* msg, ...) WINETEST_PRINTF(1, 2);
void winetest_push_context(const char* fmt, ...) WINETEST_PRINTF(1, 2);
void winetest_pop_context(void);
void winetest_start_todo(int is_todo);
int winetest_loop_todo(void);
void winetest_end_todo(void);
int winetest_get_mainargs(char*** argv);
DWORD winetest_wait_child_process(HANDLE process);
LONG winetest_get_failures(void);
void winetest_add_failures(LONG count);

/* Debug strings live in a ring of buffers, as the system's debug helpers. */
const char* wine_dbg_sprintf(const char* fmt, ...) WINETEST_PRINTF(1, 2);
const char* wine_dbgstr_an(const char* s, int n);
const char* wine_dbgstr_wn(const WCHAR* s, int n);
const char* wine_dbgstr_rect(const RECT* rect);
const char* wine_dbgstr_point(const POINT* point);
const char* wine_dbgstr_longlong(unsigned long long n);
static inline const char* wine_dbgstr_a(const char* s) { return wine_dbgstr_an(s, -1); }
static inline const char* wine_dbgstr_w(const WCHAR* s) { return wine_dbgstr_wn(s, -1); }
#define debugstr_a wine_dbgstr_a
#define debugstr_w wine_dbgstr_w
#define debugstr_an wine_dbgstr_an
#define debugstr_wn wine_dbgstr_wn

#define ok_(file, line) (winetest_set_location(file, line), 0) ? (void)0 : (void)winetest_ok
#define skip_(file, line) (winetest_set_location(file, line), 0) ? (void)0 : winetest_skip
#define win_skip_(file, line) (winetest_set_location(file, line), 0) ? (void)0 : winetest_win_skip
#define trace_(file, line) (winetest_set_location(file, line), 0) ? (void)0 : winetest_trace

#define ok ok_(__FILE__, __LINE__)
#define skip skip_(__FILE__, __LINE__)
#define win_skip win_skip_(__FILE__, __LINE__)
#define trace trace_(__FILE__, __LINE__)

#define todo_if(is_todo) \
  for (winetest_start_todo(is_todo); winetest_loop_todo(); winetest_end_todo())
#define todo_wine todo_if(0)
#define todo_wine_if(is_todo) todo_if(0 && (is_todo))
#define flaky_if(is_flaky) todo_if(0 && (is_flaky))
#define flaky todo_if(0)
#define flaky_wine todo_if(0)
#define flaky_wine_if(is_flaky) todo_if(0 && (is_flaky))
#define broken(cond) (0 && (cond))
#define wait_child_process winetest_wait_child_process

/* One test file is one program: START_TEST names its entry. */
void winetest_main(void);
extern const char winetest_test_name[];
#define START_TEST(name)                       \
  const char winetest_test_name[] = #name;     \
  void winetest_main(void)

/* Shared by Wine's test files (msg.c defines it there). */
void dump_region(HRGN hrgn);

/* The tests' own formatting goes through the harness, which knows the
 * system's integer sizes in formats (%Ix, %I64d). */
int winetest_sprintf(char* buffer, const char* fmt, ...);
int winetest_vsprintf(char* buffer, const char* fmt, va_list args);
int winetest_printf(const char* fmt, ...);
#ifndef WINETEST_HARNESS
#define sprintf winetest_sprintf
#define vsprintf winetest_vsprintf
#define printf winetest_printf
#endif

/* A test function the conformance run leaves out (see skipped.txt). */
void winetest_skipped(const char* function);

#endif
