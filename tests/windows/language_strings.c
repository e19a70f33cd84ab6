/* Prints the strings of resource libraries as Windows' own loader finds them: for each library that
   is named, its name and then "<id> <text>", a line each, in UTF-8. Ends with 1 if one of them
   cannot be loaded. */
#include <windows.h>

#include <stdio.h>
#include <wchar.h>

enum { kLastId = 1024, kLongest = 512 };

static void print_utf8(const wchar_t *text) {
  char narrow[4 * kLongest];
  if (WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow, sizeof narrow, NULL, NULL) > 0) {
    fputs(narrow, stdout);
  }
}

int wmain(int argc, wchar_t **argv) {
  int i;
  for (i = 1; i < argc; ++i) {
    const HMODULE library = LoadLibraryExW(argv[i], NULL, LOAD_LIBRARY_AS_DATAFILE);
    UINT id;
    if (library == NULL) {
      fprintf(stderr, "library %d cannot be loaded: %lu\n", i, (unsigned long)GetLastError());
      return 1;
    }
    for (id = 0; id <= kLastId; ++id) {
      wchar_t text[kLongest];
      if (LoadStringW(library, id, text, kLongest) > 0) {
        printf("%u ", id);
        print_utf8(text);
        putchar('\n');
      }
    }
    FreeLibrary(library);
  }
  return 0;
}
