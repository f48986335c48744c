/* Stands for the system's PowerShell in installer/tests/run: adds a line to the file `asked` beside it with the folder
   that it works in, what the person's variable THEIRS holds, and its command. Where the file `refusal` is there and its
   first line is a part of the command, the second line is the status that it ends with, and the third what it says. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#define STATE "C:\\windows\\system32\\WindowsPowerShell\\v1.0\\"

int main(void) {
  char folder[MAX_PATH], part[200], status[20], said[200];
  const char *command = strstr(GetCommandLineA(), "-NoLogo"), *theirs = getenv("THEIRS");
  FILE *asked = fopen(STATE "asked", "a"), *refusal = fopen(STATE "refusal", "r");
  int refuses = 0;
  GetCurrentDirectoryA(sizeof folder, folder);
  if (asked == NULL || command == NULL)
    return 99;
  fprintf(asked, "%s|%s|%s\n", folder, theirs ? theirs : "", command);
  fclose(asked);
  if (refusal == NULL)
    return 0;
  if (fgets(part, sizeof part, refusal) && fgets(status, sizeof status, refusal) && fgets(said, sizeof said, refusal)) {
    part[strcspn(part, "\r\n")] = 0;
    refuses = strstr(command, part) != NULL;
  }
  fclose(refusal);
  if (!refuses)
    return 0;
  fputs(said, stdout);
  return atoi(status);
}
