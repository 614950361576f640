/* Calls a procedure that no object defines. */
int missing(int value);

int __stdcall StartingProc(void* module) { return missing(1); }
