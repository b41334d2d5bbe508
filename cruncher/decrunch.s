; The 6502 side of the cruncher: the code a crunched program runs to unpack itself.
;
; A crunched program loads at $0801: a BASIC line "SYS <init>", the crunched stream, then
; init and core. init copies core (with the tail the cruncher appends to it: the lowest
; bytes of the program, kept as they are) to a free page above both the program and the
; crunched file, and jumps there. core reads the stream from its last byte down and writes
; the program from its top down, so the writes only reach stream bytes already read (the
; cruncher proves this for every file). The cruncher relocates core to its page and patches
; the operands marked "patched"; the labels it needs are exported.
;
; Stream: one byte sequence read downwards, holding whole bytes and the bytes of a bit
; register (bits taken from bit 7 down; a set sentinel bit marks it empty), each taken when
; it is needed. Tokens:
;   literal run       gamma length, then that many bytes
;   repeat match      gamma length; copy from the last offset
;   new offset match  the offset's class (up to OFFSET_CLASSES - 1 bits: 1 = next class),
;                     the class's bit count of offset bits, then a whole byte as the low 8
;                     bits when the class says so; plus the class's base. Offsets from
;                     OFFSET_END on end the stream. Then gamma length, less 1 from class 1 on.
; The first token is a literal run. After a literal run one bit picks a repeat match (0) or
; a new offset match (1); after a match it picks a literal run (0) or a new offset match (1).
; Gamma: 0 ends the number, 1 is followed by its next bit below the leading 1.
;
; Zero page: the BASIC floating point work area $57-$5E; interrupts and $01 are left alone.
        .setcpu "6502"

BITS     = $57
LENLO    = $58
LENHI    = $59
OFFLO    = $5a
OFFHI    = $5b
STREAM   = $5c                  ; and $5d: the next stream byte
KIND     = $5e                  ; 0 after a literal run, else after a match

OFFSET_CLASSES = 4
OFFSET_RAW_FROM = 1              ; classes from this one on end in a whole byte

        .export OFFSET_CLASSES, OFFSET_RAW_FROM, init, copy_half, init_src, init_dst, init_src2, init_dst2, init_jmp, core, core_end
        .export dst_ptr, stream_lo, stream_hi, tail_len, tail_dst, start_addr
        .export offset_bits, offset_base_lo, offset_base_hi, OFFSET_END

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
        lda #$80
        sta BITS
        ldy #0                  ; Y is 0 between tokens (copy, refill and get_byte leave it so)
        beq literal             ; always

; The pages above the rest, each copied from its top; X = LENHI, Y = LENLO.
copy_long:
        sec
        tya
        adc src_ptr
        sta page_src
        txa
        adc src_ptr+1
        sta page_src+1
        sec
        tya
        adc dst_ptr
        sta page_dst
        txa
        adc dst_ptr+1
        sta page_dst+1
copy_page:
        dec page_src+1
        dec page_dst+1
        ldy #0
copy_page_byte:
        dey
        lda $ffff,y
page_src = * - 2
        sta $ffff,y
page_dst = * - 2
        tya
        bne copy_page_byte
        dex
        bne copy_page
        ldy LENLO
        bne copy_short
        beq copied

literal:
        jsr gamma
literal_length:                 ; the length read
        sec
        lda STREAM
        sbc LENLO
        sta STREAM
        sta src_ptr
        lda STREAM+1
        sbc LENHI
        sta STREAM+1
        sta src_ptr+1
        lda dst_ptr             ; carry is set: the stream does not wrap
        sbc LENLO
        sta dst_ptr
        lda dst_ptr+1
        sbc LENHI
        sta dst_ptr+1
        sty KIND                ; 0: a literal run

; Copies LENHI:LENLO (at least 1) bytes from src_ptr + 1 up to dst_ptr + 1 up, highest
; byte first: whole pages first (from the top), then the rest with the short loop.
copy:   ldy LENLO
        ldx LENHI
        bne copy_long
copy_short:
        lda $ffff,y
src_ptr = * - 2
        sta $ffff,y             ; patched: the program's last byte
dst_ptr = * - 2
        dey
        bne copy_short

; The next token: 1 = a new offset match, else a length for a literal run (after a match)
; or a repeat match (after a literal run).
copied: asl BITS
        bne :+
        jsr refill
:       bcs new_offset
        jsr gamma
        ldx KIND
        bne literal_length

; dst_ptr -= length; src_ptr = dst_ptr + offset
match:  sec
        lda dst_ptr
        sbc LENLO
        sta dst_ptr
        tax
        lda dst_ptr+1
        sbc LENHI
        sta dst_ptr+1
        tay
        clc
        txa
        adc OFFLO
        sta src_ptr
        tya
        adc OFFHI
        sta src_ptr+1           ; not 0: the program lies above page 0
        sta KIND                ; not 0: a match
        bne copy                ; always

new_offset:
        ldx #0
class:  cpx #OFFSET_CLASSES-1
        beq class_bits
        asl BITS
        bne :+
        jsr refill
:       bcc class_bits
        inx
        bne class
class_bits:
        sty OFFHI
        lda offset_bits,x       ; a marker bit that leaves A after the class's bits
        beq class_raw
class_bit:
        asl BITS
        bne :+
        jsr refill
:       rol a
        bcc class_bit
class_raw:
        cpx #OFFSET_RAW_FROM
        bcc class_base
        sta OFFHI
        jsr get_byte
class_base:
        clc
        adc offset_base_lo,x
        sta OFFLO
        lda OFFHI
        adc offset_base_hi,x
        sta OFFHI
        cmp #>OFFSET_END        ; the end marker
        beq done
        jsr gamma
        txa                     ; the nearest offsets send the length itself
        beq match
        inc LENLO
        bne match
        inc LENHI
        bne match               ; always

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

; Gamma number into LENHI:LENLO (and A); returns with carry clear. Keeps X; Y must be 0.
gamma:  sty LENHI
        lda #1
gamma_next:
        asl BITS
        bne :+
        jsr refill
:       bcc gamma_end
        asl BITS
        bne :+
        jsr refill
:       rol a
        rol LENHI
        bcc gamma_next
gamma_end:
        sta LENLO
        rts

; The next stream byte into A; keeps X; Y is 0 on entry and exit.
get_byte:
        lda (STREAM),y
        ldy STREAM
        bne get_byte_low
        dec STREAM+1
get_byte_low:
        dec STREAM
        ldy #0
        rts

; Widths 3, 8, 9 and 12 bits, tuned on the editor's export programs: bits read one by one
; (as the marker bit that leaves A after them), then a whole byte from class 1 on. Offsets
; count from 1, so that the next cell of a bitmap (8 back) is among the nearest; the page
; after the last class ends the stream.
offset_bits:    .byte $20, $00, $80, $10
offset_base_lo: .byte <1, <9, <265, <777
offset_base_hi: .byte >1, >9, >265, >777
OFFSET_END = (777 + $1000) & $ff00
core_end:
