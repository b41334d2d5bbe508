; The 6502 side of the cruncher: the code a crunched program runs to unpack itself.
;
; A crunched program loads at $0801: a BASIC line "SYS <init>" (or the program's own SYS
; line with a jump to init where it lands), the crunched stream, then init, core and the
; tail (the lowest bytes of the program, at least one, kept as they are). init turns
; interrupts off, copies core and the tail to the zero page and starts core. core reads the
; stream from its last byte down and writes the program from its top down, so that the
; writes only reach stream bytes already read (the cruncher proves this for every file),
; and copies the tail last. The program is entered with interrupts off and the zero page
; from $02 on overwritten. The cruncher patches the operands marked "patched"; the labels it
; needs are exported.
;
; Stream: one byte sequence read downwards, holding whole bytes and the bytes of a bit
; register (bits taken from bit 7 down; a set sentinel bit marks it empty), each taken when
; it is needed. The register starts empty without its sentinel, so the first register byte
; brings its own: bit 0 set, 7 bits in it. Tokens:
;   literal run       gamma length, then that many bytes
;   repeat match      gamma length; copy from the last offset
;   new offset match  gamma H, then a whole byte B: the offset is (H - 1) * 128 + B / 2 + 1;
;                     bit 0 of B is the first bit of the gamma length less 1. A long H
;                     (below) ends the stream; its K is the tail's length.
; The first token is a literal run. After a literal run one bit picks a repeat match (0) or
; a new offset match (1); after a match it picks a literal run (0) or a new offset match (1).
; Gamma: a 1 is followed by the number's next bit below its leading 1, a 0 ends it. A long
; number (past 255, or past 254 for a new match's length less 1, to which core adds 1) is
; sent as a first piece P of 1 to 255 bytes (its 8 bits, each after a 1, and no 0), then a
; gamma number K: pieces of K, K + 1, ... 254 bytes follow the first. Lengths are at most
; 32639. Assembled twice: with LONG_LITERALS defined, literal runs may be long too; without,
; core is 8 bytes shorter and takes literal runs of at most 255 bytes.
        .setcpu "6502"

OFF     = $02                   ; and $03: the offset less 1

        .export init, init_bytes, init_src, init_end, core, core_end
        .export dst_ptr, stream_lo, stream_hi, tail_dst, start_addr

; One bit of the stream into carry; keeps A and X.
.macro  get_bit
        .local got
        asl BITS
        bne got
        jsr refill
got:
.endmacro

        .segment "INIT"
; Runs where it is loaded, right after the stream: copies core and the tail to the zero page.
init:   sei
        ldx #$ff                ; patched: the bytes of core and the tail
init_bytes = * - 1
init_copy:
        lda $ffff,x             ; patched: where core is loaded, less 1
init_src = * - 2
        sta z:core - 1,x
        dex
        bne init_copy
        jmp entry
init_end:

        .segment "CORE": zeropage
core:
BITS:   .byte 0                 ; the bit register: empty, and no sentinel
LENHI:  .byte 0                 ; the next piece's bytes (0 or 255: none)

piece_match:
        lda z:dst_ptr             ; a match: from the offset above (carry is set: + 1)
        adc OFF
        sta z:src_ptr
        lda z:dst_ptr+1
        adc OFF+1
        sta z:src_ptr+1
copy_byte:
        lda $ffff,y
src_ptr = * - 2
        sta $ffff,y             ; patched: the program's last byte (the next one written)
dst_ptr = * - 2
        dey
        bne copy_byte
        lda LENHI               ; pieces left: of LENHI bytes, then one more, up to 254
        beq match_done
        inc LENHI
        bne piece               ; A: this piece's bytes
match_done:
        dex                     ; a literal run if the selector says 0 (X was 1)
; The selector: after a match, 0 = literal run; after a literal run, 0 = repeat match; 1 =
; new offset.
selector:
        jsr get
        bcs new_offset
entry:                          ; X: 0 while copying a literal run, 1 a match
        jsr gamma
; Copies a piece of A bytes (1 to 255) down to the destination, then pieces of LENHI bytes,
; one more each time, up to 254.
piece:  tay                     ; Y: the piece's length, kept for the copy
        eor #$ff
        sec
        adc z:dst_ptr
        sta z:dst_ptr
        bcs :+
        dec z:dst_ptr+1
        sec
:       txa
        bne piece_match
        tya                     ; a literal run: from the stream, which moves down with it
        eor #$ff
        adc z:stream_lo
        sta z:stream_lo
        bcs literal_byte
        dec z:stream_hi
literal_byte:                   ; read through the stream pointer, written through the copy's
        lda (stream_lo),y
        sta (dst_ptr),y
        dey
        bne literal_byte
.ifdef LONG_LITERALS
        lda LENHI               ; as after a match
        beq literal_done
        inc LENHI
        bne piece
literal_done:
.endif
        inx                     ; a repeat match if the selector says 0 (X was 0)
        bne selector            ; always
new_offset:
        jsr gamma               ; H, with carry clear
        ldx LENHI
        bne done                ; a long H: the end
        sbc #0                  ; H - 1
        lsr a
        sta OFF+1
        lda (stream_lo,x)       ; the next stream byte (X is 0; keeps carry)
        jsr next_byte
        ror a                   ; bit 0 of H - 1 above the low 7 bits; carry: a length bit
        sta OFF
        inx                     ; a match (X was 0), and A = 1 to start its length
        txa
        jsr gamma_bit           ; the length less 1
        adc #1                  ; never 256: the cruncher sends no length that would give it
        bcc piece               ; always

done:                           ; X: the bytes of the tail (at least 1), sent as the end's count
        lda z:core_end - 1,x
        sta $ffff,x             ; patched: (program start) - 1
tail_dst = * - 2
        dex
        bne done
        jmp $ffff               ; patched: start address
start_addr = * - 2

; Gamma number L: returns the first piece (L when below 256) in A and the size of the piece
; after it in LENHI (0 on entry), with carry clear. Keeps X.
gamma:  lda #1
gamma_next:
        get_bit
gamma_bit:                      ; entered with the first bit in carry and A = 1
        bcc gamma_end
        get_bit
        rol a
        bcc gamma_next
        pha                     ; past 8 bits: A is the first piece, and a gamma number of its
        jsr gamma               ; own is the size of the next
        sta LENHI
        pla
gamma_end:
        rts

; One bit into carry; keeps A and X.
get:    asl BITS
        bne got_bit
; Called when the bit register is empty (carry holds the sentinel): loads the next byte,
; returns its top bit in carry. Keeps A and X.
refill: ldy $ffff               ; patched: the last stream byte, then the next one
stream_lo = * - 2
stream_hi = * - 1
        sty BITS
        rol BITS
next_byte:                      ; moves the stream pointer on; keeps A, X and carry
        ldy z:stream_lo
        bne :+
        dec z:stream_hi
:       dec z:stream_lo
got_bit:
        rts
core_end:
