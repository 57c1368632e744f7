; Exclusive or, equality and distinctness of Booleans.
(set-logic QF_BV)
(declare-const p Bool)
(declare-const q Bool)
(declare-const r Bool)
(assert (xor p q r))
(assert (= p (not q) r))
(assert (or (distinct p q) (distinct q r)))
(check-sat)
