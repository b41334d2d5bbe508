; The 6502 side of the cruncher: the code a crunched program runs to unpack itself.
;
; A crunched program loads at $0801: a BASIC line "SYS <init>", the crunched stream, then
; init and core. init copies core (with the tail the cruncher appends to it: the lowest
; bytes of the program, kept as they are) to a free page above both the program and the
; crunched file, and jumps there. core reads the stream from its last byte down and writes
; the program from its top down, so the writes only reach stream bytes already read (the
; cruncher proves this for every file), and copies the tail last. The cruncher relocates
; core to its page and patches the operands marked "patched"; the labels it needs are
; exported.
;
; Stream: one byte sequence read downwards, holding whole bytes and the bytes of a bit
; register (bits taken from bit 7 down; a set sentinel bit marks it empty), each taken when
; it is needed. The register starts empty without its sentinel, so the first register byte
; brings its own: bit 0 set, 7 bits in it. Every length is 1 to 255 (longer runs take
; several tokens). Tokens:
;   literal run       gamma length, then that many bytes
;   repeat match      gamma length; copy from the last offset
;   new offset match  the offset's class (unary, at most OFFSET_CLASSES - 1 bits: 1 = next
;                     class), the class's bit count of offset bits, then (from class 1 on)
;                     a whole byte as the low 8 bits; plus the class's base. An offset - 1
;                     from OFFSET_END on ends the stream. Then gamma length, less the
;                     class's length bias (the shortest match the class may send, less 1).
; The first token is a literal run. After a literal run one bit picks a repeat match (0) or
; a new offset match (1); after a match, and after a literal run of 255 bytes, it picks a
; literal run (0) or a new offset match (1).
; Gamma: 0 ends the number, 1 is followed by its next bit below the leading 1.
;
; Zero page: the BASIC floating point work area $57-$5E; interrupts and $01 are left alone.
        .setcpu "6502"

BITS     = $57
LENGTH   = $58
OFFLO    = $59                  ; and OFFHI: the offset less 1
OFFHI    = $5a
STREAM   = $5b                  ; and $5c: the next stream byte
KIND     = $5d                  ; 0 after a match, else after a literal run

OFFSET_CLASSES = 4
NEAR_BITS = 3                    ; class 0: offsets 1 to 8, length sent as it is
MAX_LENGTH = 255

        .export OFFSET_CLASSES, NEAR_BITS, MAX_LENGTH
        .export init, copy_half, init_src, init_dst, init_src2, init_dst2, init_jmp, core, core_end
        .export dst_ptr, stream_lo, stream_hi, tail_len, tail_dst, start_addr
        .export offset_bits, offset_base_lo, offset_base_hi, length_bias, OFFSET_END

; One bit of the stream into carry; keeps A, X and Y.
.macro  get_bit
        .local got
        asl BITS
        bne got
        jsr refill
got:
.endmacro

        .segment "INIT"
; Copies core and the tail, as two halves of at most 255 bytes each, to where core runs,
; then starts it.
init:   ldx #$ff                ; patched: the size of a half
copy_half = * - 1
init_copy:
        lda $ffff,x             ; patched: where core is loaded - 1
init_src = * - 2
        sta $ffff,x             ; patched: where core runs - 1
init_dst = * - 2
        lda $ffff,x             ; patched: the same + a half
init_src2 = * - 2
        sta $ffff,x             ; patched: the same + a half
init_dst2 = * - 2
        dex
        bne init_copy
        jmp $ffff               ; patched: where core runs
init_jmp = * - 2

        .segment "CORE"
core:   lda #$ff                ; patched: the last stream byte, low
stream_lo = * - 1
        sta STREAM
        lda #$ff                ; patched: and high
stream_hi = * - 1
        sta STREAM+1
        ldy #0                  ; Y is 0 between tokens (copy and refill leave it so)
        sty BITS                ; empty, and no sentinel: the first register byte has its own

literal:
        jsr gamma
literal_length:                 ; the length read, in A and LENGTH
        eor #MAX_LENGTH         ; KIND: not 0 after a literal run, but 0 (as after a match)
        sta KIND                ; after one of the longest, which another run may follow
        sec
        lda STREAM
        sbc LENGTH
        sta STREAM
        sta src_ptr
        bcs :+
        dec STREAM+1
:       lda STREAM+1
        sta src_ptr+1
        sec
        lda dst_ptr
        sbc LENGTH
        sta dst_ptr
        bcs copy
        dec dst_ptr+1

; Copies LENGTH bytes from src_ptr + 1 up to dst_ptr + 1 up, highest byte first.
copy:   ldy LENGTH
copy_byte:
        lda $ffff,y
src_ptr = * - 2
        sta $ffff,y             ; patched: the program's last byte
dst_ptr = * - 2
        dey
        bne copy_byte

; The next token: 1 = a new offset match, else a length for a literal run (after a match)
; or a repeat match (after a literal run).
copied: get_bit
        bcs new_offset
        jsr gamma
        ldx KIND
        beq literal_length      ; else a repeat match

; dst_ptr -= length; src_ptr = dst_ptr + offset
match:  sec
        lda dst_ptr
        sbc LENGTH
        sta dst_ptr
        bcs :+
        dec dst_ptr+1
        sec
:       adc OFFLO               ; carry is set: OFFHI:OFFLO is the offset less 1
        sta src_ptr
        lda dst_ptr+1
        adc OFFHI
        sta src_ptr+1
        sty KIND                ; 0: a match
        bcc copy                ; always: the source lies below $10000

; A new offset: its class, its bits (the nearest class ends there), then the low byte.
new_offset:
        ldx #0
class:  get_bit
        bcc class_bits
        inx
        cpx #OFFSET_CLASSES-1
        bne class
class_bits:
        lda offset_bits,x       ; a marker bit that leaves A after the class's bits
        beq class_byte
class_bit:
        get_bit
        rol a
        bcc class_bit
        cpx #1
        bcs class_byte
        sta OFFLO               ; the nearest class: offsets 1 to 8, less 1
        sty OFFHI
        jsr gamma               ; the length itself
        bcc match               ; always
class_byte:
        sta OFFHI
        lda (STREAM),y          ; the low 8 bits, a whole byte
        ldy STREAM
        bne :+
        dec STREAM+1
:       dec STREAM
        ldy #0
        clc
        adc offset_base_lo-1,x
        sta OFFLO
        lda OFFHI
        adc offset_base_hi-1,x
        sta OFFHI
        cmp #>OFFSET_END        ; the end marker
        beq done
        jsr gamma               ; carry is clear
        adc length_bias-1,x
        sta LENGTH
        bcc match               ; always

done:   ldx #$00                ; patched: tail length
tail_len = * - 1
        beq done_start
done_tail:
        lda core_end-1,x
        sta $ffff,x             ; patched: (program start) - 1
tail_dst = * - 2
        dex
        bne done_tail
done_start:
        jmp $ffff               ; patched: start address
start_addr = * - 2

; Called when the bit register is empty (carry holds the sentinel): loads the next byte,
; returns its top bit in carry. Keeps A and X; Y is 0 on entry and exit.
refill: pha
        lda (STREAM),y
        rol a
        sta BITS
        ldy STREAM
        bne refill_low
        dec STREAM+1
refill_low:
        dec STREAM
        ldy #0
        pla
        rts

; Gamma number (1 to 255) into LENGTH and A; returns with carry clear. Keeps X and Y.
gamma:  lda #1
gamma_next:
        get_bit
        bcc gamma_end
        get_bit
        rol a
        bcc gamma_next          ; always: the numbers stay below 256
gamma_end:
        sta LENGTH
        rts

; Widths 3, 8, 9 and 12 bits, tuned on the editor's export programs: bits read one by one
; (as the marker bit that leaves A after them), then a whole byte from class 1 on. Offsets
; count from 1, so that the next cell of a bitmap (8 back) is among the nearest; the page
; after the last class ends the stream. The nearest class sends the length itself (only it
; may copy a single byte); the farther ones the length less 1, and the farthest, whose
; matches are at least 3 bytes long (2 would cost more than two literal bytes), less 2.
; The nearest class is coded in full here; the base and bias tables start at class 1.
offset_bits:    .byte 1 << (8 - NEAR_BITS), $00, $80, $10
offset_base_lo: .byte <8, <264, <776        ; from class 1: the first offset, less 1
offset_base_hi: .byte >8, >264, >776
length_bias:    .byte 1, 1, 2
OFFSET_END = (776 + $1000) & $ff00               ; offset - 1 from here on: the end
core_end:
