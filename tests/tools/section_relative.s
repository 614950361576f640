# A section-relative relocation in code, which a module image cannot hold.
        .text
        .globl _StartingProc@4
_StartingProc@4:
        ret $4
        .secrel32 _StartingProc@4
