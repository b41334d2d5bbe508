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
;                     bits when the class says so; plus the class's base. Offset 0 ends the
;                     stream. Then gamma length, less 1 from class 1 on.
; The first token is a literal run. After a literal run one bit picks a repeat match (0) or
; a new offset match (1); after a match it picks a literal run (0) or a new offset match (1).
; Gamma: 0 ends the number, 1 is followed by its next bit below the leading 1.
;
; Zero page: the BASIC floating point work area $57-$5D; interrupts and $01 are left alone.
        .setcpu "6502"

BITS     = $57
LENLO    = $58
LENHI    = $59
OFFLO    = $5a
OFFHI    = $5b
STREAM   = $5c                  ; and $5d: one above the next stream byte

OFFSET_CLASSES = 4
OFFSET_RAW_FROM = 1              ; classes from this one on end in a whole byte

        .export OFFSET_CLASSES, OFFSET_RAW_FROM, init, init_src, init_dst, init_src2, init_dst2, init_jmp, core, core_end
        .export dst_ptr, stream_lo, stream_hi, tail_len, tail_dst, start_addr
        .export offset_bits, offset_base_lo, offset_base_hi

        .segment "INIT"
; Copies two pages (core, tail and whatever follows) to where core runs, then starts it.
init:   ldx #0
init_copy:
        lda $ffff,x             ; patched: where core is loaded
init_src = * - 2
        sta $ffff,x             ; patched: where core runs
init_dst = * - 2
        lda $ffff,x             ; patched: where core is loaded + 256
init_src2 = * - 2
        sta $ffff,x             ; patched: where core runs + 256
init_dst2 = * - 2
        dex
        bne init_copy
        jmp $ffff               ; patched: where core runs
init_jmp = * - 2

        .segment "CORE"
core:   lda #$ff                ; patched: one above the last stream byte, low
stream_lo = * - 1
        sta STREAM
        lda #$ff                ; patched: and high
stream_hi = * - 1
        sta STREAM+1
        lda #$80
        sta BITS
        ldy #0                  ; Y is 0 between tokens (copy, refill and get_byte leave it so)

literal:
        jsr gamma
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
        jsr copy
        bcs new_offset
        jsr gamma               ; repeat match; gamma ends with carry clear
        bcc match

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
        sta src_ptr+1
        jsr copy
        bcs new_offset
        bcc literal

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
        ora OFFLO
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

; Copies LENHI:LENLO (at least 1) bytes from src_ptr up to dst_ptr up, highest byte first,
; then reads the next bit into carry.
copy:   ldy LENLO
        ldx LENHI
        beq copy_byte           ; under 256 bytes: LENLO is not 0
        txa
        clc
        adc src_ptr+1
        sta src_ptr+1
        txa
        clc
        adc dst_ptr+1
        sta dst_ptr+1
        tya
        beq copy_page
copy_byte:
        dey
        lda $ffff,y
src_ptr = * - 2
        sta $ffff,y             ; patched: one above the end of the program
dst_ptr = * - 2
        tya
        bne copy_byte
copy_page:
        txa
        beq get_bit
        dex
        dec src_ptr+1
        dec dst_ptr+1
        bne copy_byte           ; always: the program lies above page 0

; The next bit into carry; keeps A and X.
get_bit:
        asl BITS
        bne get_bit_end

; Called when the bit register is empty (carry holds the sentinel): loads the next byte,
; returns its top bit in carry. Keeps A and X (the stream read is get_byte's, inline).
refill: pha
        lda STREAM
        bne refill_low
        dec STREAM+1
refill_low:
        dec STREAM
        ldy #0
        lda (STREAM),y
        sec
        rol a
        sta BITS
        pla
get_bit_end:
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

; The next stream byte into A; keeps X.
get_byte:
        lda STREAM
        bne get_byte_low
        dec STREAM+1
get_byte_low:
        dec STREAM
        ldy #0
        lda (STREAM),y
        rts

; Widths 3, 8, 9 and 13 bits, tuned on the editor's export programs: bits read one by one
; (as the marker bit that leaves A after them), then a whole byte from class 2 on.
offset_bits:    .byte $20, $00, $80, $08
offset_base_lo: .byte <0, <8, <264, <776
offset_base_hi: .byte >0, >8, >264, >776
core_end:
