; Conjunction, disjunction, implication.
(set-logic QF_BV)
(declare-const p Bool)
(declare-const q Bool)
(declare-const r Bool)
(assert (and true p (or q r (not p))))
(assert (=> p q r))
(assert (or (and q r) (=> r p)))
(check-sat)
