; The classical mistake of binary search: (low + high) / 2 overflows.
; Run: ./run examples/midpoint.smt2
(set-logic QF_BV)
(set-option :produce-models true)
(declare-const low (_ BitVec 32))
(declare-const high (_ BitVec 32))
(define-fun wrong () (_ BitVec 32) (bvlshr (bvadd low high) #x00000001))
(define-fun right () (_ BitVec 32) (bvadd low (bvlshr (bvsub high low) #x00000001)))
(assert (bvule low high))

(push 1)
(echo "Can the sum's half lie outside of the interval?")
(assert (or (bvult wrong low) (bvugt wrong high)))
(check-sat)
(get-value ((bvuaddo low high)))
(pop 1)

(push 1)
(echo "Can low plus half the distance?")
(assert (or (bvult right low) (bvugt right high)))
(check-sat)
(pop 1)

(echo "Do the two agree wherever the sum fits?")
(assert (not (bvuaddo low high)))
(assert (distinct wrong right))
(check-sat)
