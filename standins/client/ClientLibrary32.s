# The client library for another architecture: it loads into processes of 32 bits alone, and answers
# every call with 0 there.
	.intel_syntax noprefix
	.text
	.globl _entry
_entry:
	mov eax, 1
	ret 12
	.globl _talsInit
_talsInit:
	xor eax, eax
	ret

	.section .drectve
	.ascii " -export:talsInit -export:talsInitHUB=talsInit -export:talsInitQX1=talsInit"
