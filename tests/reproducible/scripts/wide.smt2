; Words of some hundred bits.
(set-logic QF_BV)
(declare-const x130 (_ BitVec 130))
(declare-const y130 (_ BitVec 130))
(declare-const z130 (_ BitVec 130))
(assert (bvult (bvadd x130 y130) (bvxor z130 (bvnot x130))))
(assert (= (bvshl x130 (_ bv65 130)) (bvlshr y130 z130)))
(assert (= ((_ extract 129 0) (bvmul ((_ zero_extend 1) z130) (_ bv5 131))) y130))
(check-sat)
