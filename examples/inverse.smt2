; A hash that multiplies by an odd number can be undone: the multiplier's inverse is unique, and the solver finds it.
; Which of the named facts are needed to see that an even multiplier has none?
(set-logic QF_BV)
(set-option :produce-unsat-cores true)
(define-fun multiplier () (_ BitVec 16) #x9e37)
(declare-const inverse (_ BitVec 16))
(assert (! (= (bvmul multiplier inverse) #x0001) :named undone))
(check-sat)
(get-value (inverse (bvmul #x1234 multiplier inverse)))

(push 1)
(declare-const even (_ BitVec 16))
(assert (! (= ((_ extract 0 0) even) #b0) :named even-number))
(assert (! (bvugt even #x00ff) :named large))
(assert (! (= (bvmul even inverse) #x0001) :named undone-too))
(check-sat)
(get-unsat-core)
(pop 1)
(exit)
