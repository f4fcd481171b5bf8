// A small Win32 program written plainly against <windows.h>: a framed window
// with a red background, a child button, a vertical scroll bar over a
// document taller than the window, and keyboard accelerators (Ctrl+Down,
// Ctrl+Up scroll a page; Ctrl+Q quits). It builds unchanged for Windows and
// for the Linux layer.
#include <windows.h>

#include <stdio.h>

namespace {

const int kLines = 60;
const int kLineHeight = 16;
const int kIdButton = 100;
const int kIdPageDown = 200;
const int kIdPageUp = 201;
const int kIdQuit = 202;

HBRUSH g_red;
int g_top;  // first document pixel shown

int pageHeight(HWND hwnd) {
  RECT r;
  GetClientRect(hwnd, &r);
  return r.bottom;
}

void updateScrollBar(HWND hwnd) {
  SCROLLINFO si;
  si.cbSize = sizeof si;
  si.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  si.nMin = 0;
  si.nMax = kLines * kLineHeight - 1;
  si.nPage = (UINT)pageHeight(hwnd);
  si.nPos = g_top;
  g_top = SetScrollInfo(hwnd, SB_VERT, &si, TRUE);
}

void scrollTo(HWND hwnd, int top) {
  SCROLLINFO si;
  si.cbSize = sizeof si;
  si.fMask = SIF_POS;
  si.nPos = top;
  int old = g_top;
  g_top = SetScrollInfo(hwnd, SB_VERT, &si, TRUE);
  if (g_top != old)
    ScrollWindowEx(hwnd, 0, old - g_top, NULL, NULL, NULL, NULL,
                   SW_SCROLLCHILDREN | SW_INVALIDATE | SW_ERASE);
}

void onVScroll(HWND hwnd, WPARAM wParam) {
  int page = pageHeight(hwnd);
  switch (LOWORD(wParam)) {
  case SB_LINEUP: scrollTo(hwnd, g_top - kLineHeight); break;
  case SB_LINEDOWN: scrollTo(hwnd, g_top + kLineHeight); break;
  case SB_PAGEUP: scrollTo(hwnd, g_top - page); break;
  case SB_PAGEDOWN: scrollTo(hwnd, g_top + page); break;
  case SB_THUMBTRACK:
  case SB_THUMBPOSITION: {
    SCROLLINFO si;
    si.cbSize = sizeof si;
    si.fMask = SIF_TRACKPOS;
    GetScrollInfo(hwnd, SB_VERT, &si);
    scrollTo(hwnd, si.nTrackPos);
    break;
  }
  default: break;
  }
}

void onPaint(HWND hwnd) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(255, 255, 255));
  for (int i = 0; i < kLines; ++i) {
    int y = i * kLineHeight - g_top;
    if (y + kLineHeight < ps.rcPaint.top || y > ps.rcPaint.bottom) continue;
    char text[32];
    int n = sprintf(text, "Line %d", i + 1);
    TextOutA(dc, 120, y + 3, text, n);
  }
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(255, 255, 0));
  HGDIOBJ old = SelectObject(dc, pen);
  MoveToEx(dc, 110, 0, NULL);
  LineTo(dc, 110, pageHeight(hwnd));
  SelectObject(dc, old);
  DeleteObject(pen);
  EndPaint(hwnd, &ps);
}

LRESULT CALLBACK demoProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
  case WM_CREATE:
    CreateWindowExA(0, "BUTTON", "Button", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 10, 10, 90, 24,
                    hwnd, (HMENU)(INT_PTR)kIdButton, GetModuleHandleA(NULL), NULL);
    return 0;
  case WM_ERASEBKGND: {
    RECT r;
    GetClientRect(hwnd, &r);
    FillRect((HDC)wParam, &r, g_red);
    return 1;
  }
  case WM_SIZE:
    updateScrollBar(hwnd);
    return 0;
  case WM_VSCROLL:
    onVScroll(hwnd, wParam);
    return 0;
  case WM_COMMAND:
    switch (LOWORD(wParam)) {
    case kIdPageDown: onVScroll(hwnd, SB_PAGEDOWN); return 0;
    case kIdPageUp: onVScroll(hwnd, SB_PAGEUP); return 0;
    case kIdQuit: DestroyWindow(hwnd); return 0;
    case kIdButton: MessageBoxA(hwnd, "The button was pressed.", "Demo", MB_OK); return 0;
    default: break;
    }
    break;
  case WM_PAINT:
    onPaint(hwnd);
    return 0;
  case WM_DESTROY:
    PostQuitMessage(0);
    return 0;
  default:
    break;
  }
  return DefWindowProcA(hwnd, msg, wParam, lParam);
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int showCmd) {
  g_red = CreateSolidBrush(RGB(200, 0, 0));
  WNDCLASSEXA wc;
  ZeroMemory(&wc, sizeof wc);
  wc.cbSize = sizeof wc;
  wc.style = CS_HREDRAW | CS_VREDRAW;
  wc.lpfnWndProc = demoProc;
  wc.hInstance = instance;
  wc.hCursor = LoadCursorA(NULL, IDC_ARROW);
  wc.lpszClassName = "ScrollDemo";
  if (!RegisterClassExA(&wc)) return 1;
  HWND hwnd = CreateWindowExA(0, "ScrollDemo", "Scroll demo", WS_OVERLAPPEDWINDOW | WS_VSCROLL,
                              40, 40, 400, 300, NULL, NULL, instance, NULL);
  if (!hwnd) return 1;
  ShowWindow(hwnd, showCmd);
  UpdateWindow(hwnd);

  ACCEL keys[] = {{FVIRTKEY | FCONTROL, VK_DOWN, kIdPageDown},
                  {FVIRTKEY | FCONTROL, VK_UP, kIdPageUp},
                  {FVIRTKEY | FCONTROL, 'Q', kIdQuit}};
  HACCEL accel = CreateAcceleratorTableA(keys, 3);
  MSG msg;
  BOOL got;
  while ((got = GetMessageA(&msg, NULL, 0, 0)) != 0) {
    if (got == -1) break;
    if (TranslateAcceleratorA(hwnd, accel, &msg)) continue;
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
  DestroyAcceleratorTable(accel);
  DeleteObject(g_red);
  UnregisterClassA("ScrollDemo", instance);
  return got == -1 ? 1 : (int)msg.wParam;
}
