; Rotations by words whose width is no power of two.
(set-logic QF_BV)
(declare-const x5 (_ BitVec 5))
(declare-const y5 (_ BitVec 5))
(declare-const x11 (_ BitVec 11))
(declare-const y11 (_ BitVec 11))
(assert (= (ext_rotate_left x5 y5) #b10110))
(assert (bvult (ext_rotate_right x11 y11) (ext_rotate_left y11 x11)))
(check-sat)
