#include "host/module/call_procedure.h"

#if defined(__i386__)

// runa1CallProcedure(procedure, count, arguments, convention), cdecl. Pushes the arguments
// from the last to the first (leaving arguments[0] for ECX under convention 2), calls, and
// takes the stack pointer back from the frame pointer, whoever was to pop.
extern "C" uint32_t runa1CallProcedure(void* procedure, uint32_t count, const uint32_t* arguments,
                                       uint32_t convention);

#ifdef _WIN32
#define RUNA1_CALL_SYMBOL "_runa1CallProcedure"
#else
#define RUNA1_CALL_SYMBOL "runa1CallProcedure"
#endif

asm(".text\n"
    ".globl " RUNA1_CALL_SYMBOL "\n" RUNA1_CALL_SYMBOL ":\n"
    "  pushl %ebp\n"
    "  movl %esp, %ebp\n"
    "  pushl %ebx\n"
    "  pushl %esi\n"
    "  pushl %edi\n"
    "  movl 12(%ebp), %eax\n"  // count
    "  movl 16(%ebp), %esi\n"  // arguments
    "  cmpl $2, 20(%ebp)\n"
    "  jne 2f\n"
    "  testl %eax, %eax\n"
    "  jz 4f\n"
    "  decl %eax\n"
    "  jz 1f\n"
    "0:\n"
    "  pushl (%esi,%eax,4)\n"  // arguments[count-1] .. arguments[1]
    "  decl %eax\n"
    "  jnz 0b\n"
    "1:\n"
    "  movl (%esi), %ecx\n"  // the object pointer of a member function
    "  jmp 4f\n"
    "2:\n"
    "  testl %eax, %eax\n"
    "  jz 4f\n"
    "3:\n"
    "  pushl -4(%esi,%eax,4)\n"  // arguments[count-1] .. arguments[0]
    "  decl %eax\n"
    "  jnz 3b\n"
    "4:\n"
    "  call *8(%ebp)\n"
    "  leal -12(%ebp), %esp\n"
    "  popl %edi\n"
    "  popl %esi\n"
    "  popl %ebx\n"
    "  popl %ebp\n"
    "  ret\n");

uint32_t callProcedure(void* procedure, uint32_t count, const uint32_t* arguments, uint32_t convention) {
  return runa1CallProcedure(procedure, count, arguments, convention);
}

#else

#include "base/os/os.h"

uint32_t callProcedure(void*, uint32_t, const uint32_t*, uint32_t) {
  os::writeDiagnostic("runa1: module code is 32-bit x86 and cannot run on this processor\n");
  return 0;
}

#endif
