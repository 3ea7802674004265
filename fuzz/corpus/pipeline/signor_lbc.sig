AKT SIGNOR-PF24 NA ProteinFamily Cytosol Proliferation SIGNOR-PH4 NA Phenotype Cytosol + NA 24743741
FGFR1 P11362 NA Receptor Membrane FRS2 Q8WU20 NA Receptor Membrane + phosphorylation 9182757
ERK1/2 SIGNOR-PF1 NA ProteinFamily Cytosol E2F1 Q01094 NA TF Nucleus + phosphorylation 23616010
PDPK1 O15530 NA Protein Cytosol AKT SIGNOR-PF24 NA ProteinFamily Cytosol + phosphorylation 21798082
PDPK1 O15530 NA Protein Cytosol MEK1/2 SIGNOR-PF25 NA ProteinFamily Cytosol + phosphorylation 15175348
PDPK1 O15530 NA Protein Cytosol MEK1/2 SIGNOR-PF25 NA ProteinFamily Cytosol + phosphorylation 15175348
